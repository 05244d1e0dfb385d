// The demo's menu bar: File > Settings..., Exit, and Help > About.
#pragma once
#include <Velnor11.h>

#include <functional>

enum DemoMenuCommand { demoSettingsCommand = 40001, demoExitCommand = 40002, demoAboutCommand = 40003 };

// Puts the bar and the help menu on the frame, which owns them from then on.
void addDemoMenu(mFrame *frame);

// Answers the commands of the bar for the frame; false for any other command.
bool demoMenuCommand(mMainFrame *frame, int id);

// What the Settings command opens; without a handler the command does nothing.
void setDemoSettingsHandler(std::function<void(mMainFrame *)> handler);
