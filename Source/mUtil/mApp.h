// The application object: the run loop, the stack of application states, idle work,
// exit listeners and the one road for failures.
#pragma once
#include "mUtil/mError.h"
#include "mUtil/mGeometry.h"
#include "mFile/mFSobject.h"

#include <deque>
#include <vector>

class mAccel;
class mDialog;
class mMainFrame;
class mModule;
class mWindow;

// Called in every idle round of the run loop while registered with the current state.
class VELNOR_API mAppListener {
public:
    virtual ~mAppListener() {}
    virtual void onIdle(unsigned long count) {}
};

// Told when its application state ends; the default deletes the listener.
class VELNOR_API mExitListener {
public:
    virtual void onExit(bool fatal);
    virtual ~mExitListener();

protected:
    mExitListener();
    mExitListener(const mExitListener &) {}
    void removeExit();
};

// One level of the state stack, made by setMainWindow or setClientWindow.
struct VELNOR_API mAppState {
    mAppState(mMainFrame *frame, mWindow *client, mModule *module, unsigned short resumeMessage, bool isClient);
    ~mAppState();
    void notifyExits(bool fatal);

    mMainFrame *mainFrame;
    mWindow *clientWindow;
    mModule *module;
    unsigned short resumeMessage;
    bool isClient;
    mSize minSize, maxSize;
    std::vector<mAccel *> accelerators;
    std::vector<mDialog *> dialogs;
    std::vector<mAppListener *> idleListeners;
    std::vector<mFSdir> searchPath;
    std::vector<mExitListener *> exitListeners;

private:
    mAppState(const mAppState &);
    mAppState &operator=(const mAppState &);
};

class VELNOR_API mApp {
public:
    enum mOS { OS_UNKNOWN = 0, OS_WIN95 = 1, OS_WIN98 = 2, OS_WINNT = 3 };

    mApp(const mString &name);
    ~mApp();

    mApp *setCurrentApp();
    static mApp *getCurrentApp() { return currApp; }
    bool isAnyRunning() const { return otherInstance != nullptr; }
    void activateOther();

    int start();
    bool handleMessages();
    void shutdown(int code);
    void exitState();
    void destroyed(mMainFrame *frame);
    bool anyActivity();
    bool getActivation() const { return activation; }
    void setActivation(bool active) { activation = active; }
    bool isFatal() const { return fatal; }
    int getExitCode() const { return exitCode; }
    static int getNextChar(bool sys);

    void setMainWindow(mMainFrame *frame, mModule *module, unsigned short resumeMessage);
    void setClientWindow(mWindow *window, mModule *module, unsigned short resumeMessage);
    void storeClientWindow(mWindow *window);
    mMainFrame *getMainWindow() const;
    mWindow *getClientWindow() const;
    mModule *getModule() const;
    mDialog *getActiveDialog() const;
    int getStateCount() const { return (int)states->size(); }

    void registerIdle(mAppListener *listener);
    void unregisterIdle(mAppListener *listener);
    void registerDialog(mDialog *dialog);
    void unregisterDialog(mDialog *dialog);
    void registerAccelerators(unsigned short id);
    void unregisterAccelerators(unsigned short id);
    void appendFileSearchPath(const mFSdir &dir);
    std::vector<mFSdir> &getFileSearchPath();
    mFSdir getAppDirectory() const;

    static mSize getScreenSize(bool whole);
    static mRect getScreenBounds();
    static unsigned long getVersion();
    static mOS getOS();
    static int getScreenColorDepth();
    static mPoint getMousePos();
    static unsigned long availMem();
    static void *malloc(int size);
    static void free(void *block);

    // Profile store: small settings below "Software\Tamrix\" and a key for each module.
    static bool getProfileValue(const mString &name, mString &value, bool user, const mString &module);
    static bool getProfileValue(const mString &name, long &value, bool user, const mString &module);
    static bool getProfileValue(const mString &name, std::vector<long> &values, int minimum, mString &suffix,
                                bool user, const mString &module);
    static void setProfileValue(const mString &name, const mString &value, bool user, const mString &module);
    static void setProfileValue(const mString &name, long value, bool user, const mString &module);
    static void setProfileValue(const mString &name, const std::vector<long> &values, const mString &suffix,
                                bool user, const mString &module);

    // The platform's dispatch cannot carry a C++ exception through every callback: a callback
    // parks what it caught here, and the code that called into the platform throws it again.
    static void parkException();
    static void rethrowParked();
    static void dispatch(const void *msg);

private:
    friend class mExitListener;
    // The platform's modal loops reach idle rounds through the window core.
    friend class mWindow;
    mApp(const mApp &);
    mApp &operator=(const mApp &);

    int processStart();
    bool processIdle(unsigned long count);
    int closeDown();
    int runLoop();
    bool dialogMsg(void *msg);
    bool accelerate(void *msg);
    void checkUserActivity(void *msg);
    void filterAndDispatch(void *msg);
    bool isMainFramePeer(void *peer) const;
    bool bubbleUp();
    void callAllExits();
    void pushState(mAppState *state);
    void popState();
    void resume(mWindow *window);
    static int guardedStart(void *app);
    static int guardedCloseDown(void *app);
    static mString getKeyPath(const mString &module);

    std::deque<mAppState *> *states;
    mAppState *current;
    bool quit;
    int exitCode;
    bool closing;
    bool activation;
    bool fatal;
    bool activity;
    SYSTEM_INFO_STRUCT *otherInstance;

    static mApp *currApp;
};
