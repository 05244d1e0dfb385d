#include "mFile/mFSobject.h"
#include "mFile/mFile.h"
#include "mUtil/mError.h"

#include <direct.h>
#include <io.h>
#include <windows.h>

static const char srcPath[] = "mFile/mFScontainer";

// Every object deleted here was made here as exactly the type it is deleted as.
#pragma GCC diagnostic ignored "-Wdelete-non-virtual-dtor"

mFSdir::mFSdir(mFile *f) : mFSobject(f->getParent()->getFullPath()) {}

// A listing is released however the walk over it ends.
namespace {
class Listing {
public:
    Listing(mFSdir &dir) : dir(dir), entries(dir.getContents(nullptr)) {}
    ~Listing() { dir.destroyContentsVector(entries); }
    const std::vector<mFSobject *> &get() const { return *entries; }

private:
    Listing(const Listing &);
    Listing &operator=(const Listing &);
    mFSdir &dir;
    std::vector<mFSobject *> *entries;
};

// The platform lists a directory's own "." and ".." like any entry.
bool isSelfOrUp(mFSobject *entry) { return entry->getName() == "." || entry->getName() == ".."; }
} // namespace

std::vector<mFSobject *> *mFSdir::getContents(const mString *pattern) {
    mString query = getFullPath();
    query += getPathSep();
    query += pattern && !pattern->empty() ? *pattern : mString("*.*");
    std::vector<mFSobject *> *contents = new std::vector<mFSobject *>;
    struct __finddata64_t entry;
    intptr_t search = _findfirst64(query.c_str(), &entry);
    if (search == -1)
        return contents;
    try {
        do {
            if (entry.attrib & _A_SUBDIR)
                contents->push_back(new mFSdir(*this, entry.name));
            else
                contents->push_back(new mFile(*this, entry.name));
        } while (_findnext64(search, &entry) == 0);
    } catch (...) {
        _findclose(search);
        destroyContentsVector(contents);
        throw;
    }
    _findclose(search);
    return contents;
}

void mFSdir::destroyContentsVector(std::vector<mFSobject *> *v) {
    if (!v)
        return;
    // The objects are deleted as what they were made, as the base has no virtual destructor.
    for (auto it = v->rbegin(); it != v->rend(); ++it) {
        if ((*it)->isDir())
            delete static_cast<mFSdir *>(*it);
        else
            delete static_cast<mFile *>(*it);
    }
    delete v;
}

bool mFSdir::createIfNeeded() {
    if (exists())
        return true;
    if (!isRoot() && !getParent()->createIfNeeded())
        return false;
    return _mkdir(getFullPath().c_str()) == 0;
}

bool mFSdir::removeDir(bool recursive) {
    if (!exists())
        return true;
    Listing listing(*this);
    for (mFSobject *entry : listing.get()) {
        if (isSelfOrUp(entry))
            continue;
        if (!recursive)
            return false;
        bool removed = entry->isDir() ? static_cast<mFSdir *>(entry)->removeDir(true)
                                      : static_cast<mFile *>(entry)->remove();
        if (!removed)
            return false;
    }
    // Emptying a tree leaves its directories standing; only a plain removal takes one away.
    return recursive || _rmdir(getFullPath().c_str()) == 0;
}

bool mFSdisk::isCDrom() {
    return GetDriveTypeA(rootText().c_str()) == DRIVE_CDROM;
}

std::vector<mFSdisk> *mFSdisk::getMountedDisks() {
    DWORD mask = GetLogicalDrives();
    if (mask == 0)
        VELNOR_THROW("Failure getting system drives!", GetLastError());
    std::vector<mFSdisk> *disks = new std::vector<mFSdisk>;
    for (int drive = 0; drive < 26; ++drive) {
        if (mask & (1UL << drive)) {
            mString letter(1, (char)('A' + drive));
            disks->push_back(mFSdisk(letter));
        }
    }
    return disks;
}

void mFSdisk::destroyDiskVector(std::vector<mFSdisk> *v) { delete v; }
