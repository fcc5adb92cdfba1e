#pragma once

class JetExhaustSystem;

// Ctrl+Shift+L: switches the whole jet effect, and its four features with it, so that while it is
// off every figure the effects panel shows reads as off; switching it on brings the features back as
// they were.
class JetEffectSwitch
{
  public:
    void Toggle(JetExhaustSystem& Effect);

  private:
    bool bSaved[4] = {true, true, true, true};
};
