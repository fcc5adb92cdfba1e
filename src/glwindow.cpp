#include "glwindow.h"

void GLWindow::SetStatusBarText(const std::string& Text)
{
    StatusBarText = Text;
    StatusHistory.push_back(Text);
}
