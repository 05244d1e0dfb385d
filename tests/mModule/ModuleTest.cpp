// Modules, their version blocks and resources, and the compressed blocks inside them.
#include "helpers.h"
#include "modules/pattern.h"
#include "resources.h"
#include "mUtil/mModule.h"

#include <cstring>
#include <memory>
#include <vector>

namespace {
const char pluginFile[] = "VelnorTestPlugin.dll";

// The test program stands for the title's own module.
mModule *title() { return vt::testModule(); }

// A compressed block: the header's two sizes in front of a stream.
std::vector<unsigned char> block(long decoded, long stored, const std::vector<unsigned char> &stream) {
    std::vector<unsigned char> out;
    for (long field : {decoded, stored})
        for (int i = 0; i < 4; ++i)
            out.push_back((unsigned char)((unsigned long)field >> (8 * i)));
    for (unsigned char b : stream)
        out.push_back(b);
    return out;
}

// The three numbers of the module's version; a fourth int behind them must stay untouched.
void expectCodeVersion(mModule &module, int major, int minor, int release) {
    int numbers[4] = {-1, -1, -1, -1};
    module.getCodeVersion(numbers);
    EXPECT_EQ(numbers[0], major);
    EXPECT_EQ(numbers[1], minor);
    EXPECT_EQ(numbers[2], release);
    EXPECT_EQ(numbers[3], -1);
}

mString decodeError(const std::vector<unsigned char> &data, long size) {
    return errorOf([&] {
        long available = size;
        mApp::free(mModule::decodeCompressed(data.data(), available));
    }).message;
}
} // namespace

TEST(ModuleVersion, ThePreferredBlockGivesThreeNumbers) {
    mString product, version;
    EXPECT_TRUE(title()->getModuleVersion(product, version));
    EXPECT_STREQ(product.c_str(), "Velnor Test Title");
    EXPECT_STREQ(version.c_str(), "1.2.3.4");
    expectCodeVersion(*title(), 1, 2, 3);
}

TEST(ModuleVersion, FallsBackToTheUnicodeBlockAndTheFileVersion) {
    mModule plugin(pluginFile, true);
    mString product, version;
    EXPECT_TRUE(plugin.getModuleVersion(product, version));
    EXPECT_STREQ(product.c_str(), "Velnor Test Plug-in");
    EXPECT_STREQ(version.c_str(), "5, 6 beta");
    // Everything but digits and dots is skipped, so "5, 6" is one number.
    expectCodeVersion(plugin, 56, 0, 0);
}

TEST(ModuleVersion, AModuleWithoutVersionBlockIsUnknown) {
    mModule bare("VelnorTestBare.dll", true);
    mString product = "old", version = "old";
    EXPECT_FALSE(bare.getModuleVersion(product, version));
    EXPECT_STREQ(product.c_str(), "Unknown library");
    EXPECT_STREQ(version.c_str(), "Unknown");
    expectCodeVersion(bare, 0, 0, 0);
}

TEST(ModuleFiles, NamesAndDirectory) {
    mModule plugin(pluginFile, true);
    EXPECT_STREQ(plugin.getModuleName(false).c_str(), pluginFile);
    EXPECT_STREQ(plugin.getModuleName(true).c_str(), "VelnorTestPlugin");
    // The tests run where the modules were built, next to each other.
    mFSdir here = plugin.getModuleDirectory();
    EXPECT_STREQ(here.getName().c_str(), "bin");
    EXPECT_STREQ(here.getFullPath().c_str(), title()->getModuleDirectory().getFullPath().c_str());
    EXPECT_STREQ(mModule::getVelnor()->getModuleDirectory().getFullPath().c_str(), here.getFullPath().c_str());
}

TEST(ModuleFiles, ANameWithoutExtensionStaysWhole) {
    // The trailing dot keeps the platform from adding an extension of its own.
    mModule module("VelnorTestNoExt.", true);
    EXPECT_STREQ(module.getModuleName(true).c_str(), "VelnorTestNoExt");
    EXPECT_STREQ(module.getModuleName(false).c_str(), "VelnorTestNoExt");
}

TEST(ModuleLoading, EntryPointsAndUnloading) {
    auto *plugin = new mModule(pluginFile, true);
    auto answer = reinterpret_cast<int (*)(void)>(plugin->getEntryPoint("pluginAnswer"));
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 42);
    EXPECT_EQ(plugin->getEntryPoint("noSuchEntry"), nullptr);

    // A second wrapper that does not own the module leaves it loaded.
    delete new mModule(plugin->getInstance());
    EXPECT_NE(GetModuleHandleA(pluginFile), nullptr);
    delete plugin;
    EXPECT_EQ(GetModuleHandleA(pluginFile), nullptr);
}

TEST(ModuleLoading, AMissingFileThrows) {
    mError e = errorOf([] { mModule missing("VelnorNoSuchModule.dll", true); });
    EXPECT_STREQ(e.message.c_str(), "Module Not Found");
    EXPECT_NE(e.value, 0);
    EXPECT_STREQ(e.file, "mUtil/mModule");
}

TEST(ModuleResources, StringsComeFromTheirOwnModule) {
    mModule plugin(pluginFile, true);
    EXPECT_STREQ(title()->loadString(STR_GREETING).c_str(), "Greetings from the title");
    EXPECT_STREQ(plugin.loadString(STR_GREETING).c_str(), "Greetings from the plug-in");
    EXPECT_TRUE(plugin.loadString(STR_LONG).empty());
    EXPECT_TRUE(title()->loadString(RES_MISSING).empty());
}

TEST(ModuleResources, ALongStringIsCutToTheBuffer) {
    mString text = title()->loadString(STR_LONG);
    ASSERT_EQ(text.length(), 248);
    for (int i = 0; i < text.length(); ++i)
        ASSERT_EQ(text[i], '0' + i % 10) << i;
}

TEST(ModuleResources, BitmapsAreTheFileWithoutItsHeader) {
    using namespace pattern;
    for (bool inPlugin : {false, true}) {
        std::unique_ptr<mModule> plugin(inPlugin ? new mModule(pluginFile, true) : nullptr);
        mModule *module = inPlugin ? plugin.get() : title();
        long size = 0;
        auto *bits = static_cast<const unsigned char *>(module->loadBitMapResource(size, RES_BITMAP));
        ASSERT_NE(bits, nullptr);
        ASSERT_EQ(size, 40 + 4 * bitmapColors + bitmapStride * bitmapHeight);
        EXPECT_EQ(mModule::leReadLong(bits), 40);
        EXPECT_EQ(mModule::leReadLong(bits + 4), bitmapWidth);
        EXPECT_EQ(mModule::leReadLong(bits + 8), bitmapHeight);
        EXPECT_EQ(mModule::leReadWord(bits + 14), 8);
        EXPECT_EQ(bits[40 + 4 * 2 + 1], paletteByte(2, 1));
        const unsigned char *rows = bits + 40 + 4 * bitmapColors;
        for (int y = 0; y < bitmapHeight; ++y)
            for (int x = 0; x < bitmapWidth; ++x)
                EXPECT_EQ(rows[(bitmapHeight - 1 - y) * bitmapStride + x], pixel(x, y)) << x << "," << y;
    }
}

TEST(ModuleResources, AMissingResourceThrowsWithItsId) {
    long size = -5;
    mError e = errorOf([&] { title()->loadAnyResource("IMPAKBMP", size, RES_MISSING); });
    EXPECT_STREQ(e.message.c_str(), "Resource not found");
    EXPECT_EQ(e.value, RES_MISSING);
    EXPECT_EQ(size, -5);
    // The bitmap type is not the compressed type: the same id is missing there.
    mModule bare("VelnorTestBare.dll", true);
    EXPECT_STREQ(errorOf([&] { bare.loadBitMapResource(size, RES_BITMAP); }).message.c_str(), "Resource not found");
}

TEST(ModuleResources, ACompressedResourceDecodes) {
    long size = 0;
    const void *data = title()->loadAnyResource("IMPAKBMP", size, RES_BLOCK);
    ASSERT_NE(data, nullptr);
    long stored = mModule::leReadLong(static_cast<const unsigned char *>(data) + 4);
    EXPECT_LE(stored, size);
    EXPECT_LT(stored, 8 + pattern::blockSize);  // the block really is compressed
    auto *decoded = static_cast<unsigned char *>(mModule::decodeCompressed(data, size));
    ASSERT_EQ(size, pattern::blockSize);
    for (int i = 0; i < size; ++i)
        ASSERT_EQ(decoded[i], pattern::blockByte(i)) << i;
    mApp::free(decoded);
    title()->freeResource(data);
}

TEST(ModuleCompressed, HeadersThatCannotHoldTheirData) {
    // Three literals: flag byte and the bytes "abc".
    std::vector<unsigned char> abc = {0x07, 'a', 'b', 'c'};
    EXPECT_STREQ(decodeError(block(3, 12, abc), 7).c_str(), "Short compression file");
    EXPECT_STREQ(decodeError(block(0, 12, abc), 12).c_str(), "Short compression file");
    EXPECT_STREQ(decodeError(block(-3, 12, abc), 12).c_str(), "Short compression file");
    EXPECT_STREQ(decodeError(block(3, 13, abc), 12).c_str(), "Short compression file");
    EXPECT_STREQ(decodeError(block(3, 4, abc), 12).c_str(), "Short compression file");
    // No stream of four bytes decodes to a megabyte: refused before anything is allocated.
    EXPECT_STREQ(decodeError(block(0x100000, 12, abc), 12).c_str(), "Short compression file");
    EXPECT_STREQ(decodeError(block(0x7FFFFFFF, 12, abc), 12).c_str(), "Short compression file");
}

TEST(ModuleCompressed, UsesTheStoredSizeNotTheBytesAvailable) {
    // Bytes behind the block belong to something else and are not decoded.
    std::vector<unsigned char> data = block(3, 12, {0x07, 'a', 'b', 'c', 0xFF, 'x'});
    long size = (long)data.size();
    auto *decoded = static_cast<unsigned char *>(mModule::decodeCompressed(data.data(), size));
    EXPECT_EQ(size, 3);
    EXPECT_EQ(memcmp(decoded, "abc", 3), 0);
    mApp::free(decoded);
}

TEST(ModuleCompressed, TheStreamMustFillItsBlockExactly) {
    // Eight literals for a block of four: decoding stops at the block's end.
    std::vector<unsigned char> eight = {0xFF, 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
    EXPECT_STREQ(decodeError(block(4, 17, eight), 17).c_str(), "Compressed data overruns its block");
    // Three literals for a block of five would leave two bytes unwritten.
    EXPECT_STREQ(decodeError(block(5, 12, {0x07, 'a', 'b', 'c'}), 12).c_str(), "Short compression file");
}

TEST(ModuleCompressed, ATruncatedStreamPassesTheDecoderFailureOn) {
    // A reference token cut after its first byte.
    std::vector<unsigned char> data = block(6, 13, {0x07, 'a', 'b', 'c', 0x00});
    mError e = errorOf([&] {
        long size = (long)data.size();
        mModule::decodeCompressed(data.data(), size);
    });
    EXPECT_STREQ(e.message.c_str(), "Hit EOF on decompression");
}

// The accelerator table of the title's module turns a key into a command of the main frame.
class AcceleratedFrame : public vt::TestFrame {
public:
    explicit AcceleratedFrame(mApp *app) : vt::TestFrame(app) {}
    bool onCommand(int id, int code) override {
        commands.push_back(id);
        return true;
    }
    std::vector<int> commands;
};

TEST(ModuleAccelerators, AKeyOfTheTableBecomesACommand) {
    mApp app("ModuleAccel");
    auto *frame = new AcceleratedFrame(&app);
    app.registerAccelerators(RES_ACCELERATORS);
    HWND peer = reinterpret_cast<HWND>(frame->getPeer());
    PostMessageA(peer, WM_KEYDOWN, VK_F5, 1);
    PostMessageA(peer, WM_KEYDOWN, VK_F6, 1);
    app.handleMessages();
    std::vector<int> commands = frame->commands;
    DestroyWindow(peer);
    vt::drainMessages();
    ASSERT_EQ(commands.size(), 1u);
    EXPECT_EQ(commands[0], CMD_ACCELERATED);
}
