// A loaded code module of the platform: its files, version, resources and entry points.
#pragma once
#include "mFile/mFSobject.h"
#include "mUtil/mError.h"

class VELNOR_API mModule {
public:
    mModule(SYSTEM_INFO_STRUCT *instance);
    mModule(const mString &path, bool owned);
    ~mModule();

    SYSTEM_INFO_STRUCT *getInstance() const { return instance; }
    void (*getEntryPoint(const mString &name) const)(void);
    mFSdir getModuleDirectory() const;
    mString getModuleName(bool noExtension) const;
    bool getModuleVersion(mString &product, mString &version) const;
    void getCodeVersion(int *numbers);

    const void *loadAnyResource(const mString &type, long &size, unsigned short id);
    const void *loadBitMapResource(long &size, unsigned short id);
    void freeResource(const void *) {}
    mString loadString(unsigned short id);

    static void *decodeCompressed(const void *data, long &size);
    static unsigned short leReadWord(const unsigned char *p) { return (unsigned short)(p[0] | (p[1] << 8)); }
    static long leReadLong(const unsigned char *p) {
        return (long)((unsigned long)p[0] | ((unsigned long)p[1] << 8) | ((unsigned long)p[2] << 16) |
                      ((unsigned long)p[3] << 24));
    }
    static const mModule *getVelnor();

    // Library load and unload: the library's own module object.
    static void attachLibrary(SYSTEM_INFO_STRUCT *instance);
    static void detachLibrary();

private:
    mModule(const mModule &);
    mModule &operator=(const mModule &);
    mString getFileName() const;

    bool owned;
    SYSTEM_INFO_STRUCT *instance;
};

// One accelerator table of a module; only mApp uses it.
class VELNOR_API mAccel {
private:
    friend class mApp;
    mAccel(mModule *module, unsigned short id);
    SYSTEM_INFO_STRUCT *getPeer() const { return table; }
    unsigned short getId() const { return id; }

    SYSTEM_INFO_STRUCT *table;
    unsigned short id;
};
