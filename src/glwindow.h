#pragma once

#include <string>
#include <vector>

// Top-level window: owns the status bar that shows the latest message.
class GLWindow
{
public:
    virtual ~GLWindow() = default;

    virtual void SetStatusBarText(const std::string& Text);
    const std::string& GetStatusBarText() const { return StatusBarText; }
    // Every message shown since start, oldest first.
    const std::vector<std::string>& GetStatusHistory() const { return StatusHistory; }

private:
    std::string StatusBarText;
    std::vector<std::string> StatusHistory;
};
