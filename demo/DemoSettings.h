// The demo's settings dialog: a player name, sound on or off, a speed and a volume, kept in the
// profile store from run to run; and the log window that the demo writes to, echoed to a file.
#pragma once

// Ids shared with the dialog template in settings.rc.
#define DEMO_SETTINGS_DIALOG 2001
#define DEMO_SETTINGS_NAME 2010
#define DEMO_SETTINGS_SOUND 2011
#define DEMO_SETTINGS_SPEED 2012
#define DEMO_SETTINGS_VOLUME 2013
#define DEMO_SETTINGS_VOLUME_LABEL 2014

#ifndef RC_INVOKED
#include <string>

class mWindow;

// Opens the settings dialog over `owner` and waits until it closes; true if it closed with OK.
// The menu's "Settings" command calls this.
bool openDemoSettings(mWindow *owner);

// Makes the demo's main log, echoed to demo-log.txt in `outDir`, and walks through the
// settings dialog as a person would: it types a name, ticks the box, picks a speed, moves the
// volume, presses OK, and logs what the profile store kept.
void startDemoSettings(mWindow *owner, const std::string &outDir);
#endif
