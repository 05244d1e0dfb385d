// Modules, their version blocks and resources, and the compressed blocks inside them.
#include "helpers.h"
#include "resources.h"
#include "mUtil/mModule.h"

#include <memory>
#include <string>
#include <vector>

namespace {
const char pluginFile[] = "VelnorTestPlugin.dll";
const char bareFile[] = "VelnorTestBare.dll";

// The test program stands for the title's own module.
mModule *title() { return vt::testModule(); }

// A compressed block: the header's two sizes in front of a stream.
std::vector<unsigned char> block(long decoded, long stored, const std::vector<unsigned char> &stream) {
    std::vector<unsigned char> out;
    for (long field : {decoded, stored})
        for (int i = 0; i < 4; ++i)
            out.push_back((unsigned char)((unsigned long)field >> (8 * i)));
    out.insert(out.end(), stream.begin(), stream.end());
    return out;
}
} // namespace

TEST(ModuleVersion, ThePreferredBlockThenTheUnicodeBlockThenUnknown) {
    struct Case { const char *file, *product, *version; bool found; int numbers[3]; };
    // The plug-in has only the Unicode block and no product version. Everything but digits and
    // dots is skipped, so its "5, 6" is one number.
    const Case cases[] = {
        {nullptr, "Velnor Test Title", "1.2.3.4", true, {1, 2, 3}},
        {pluginFile, "Velnor Test Plug-in", "5, 6 beta", true, {56, 0, 0}},
        {bareFile, "Unknown library", "Unknown", false, {0, 0, 0}},
    };
    for (const Case &c : cases) {
        std::unique_ptr<mModule> loaded(c.file ? new mModule(c.file, true) : nullptr);
        mModule &module = loaded ? *loaded : *title();
        mString product = "old", version = "old";
        EXPECT_EQ(module.getModuleVersion(product, version), c.found) << c.product;
        EXPECT_STREQ(product.c_str(), c.product);
        EXPECT_STREQ(version.c_str(), c.version);
        // Three numbers are written; a fourth int behind them stays untouched.
        int numbers[4] = {-1, -1, -1, -1};
        module.getCodeVersion(numbers);
        EXPECT_EQ(std::vector<int>(numbers, numbers + 4),
                  (std::vector<int>{c.numbers[0], c.numbers[1], c.numbers[2], -1}))
            << c.product;
    }
}

TEST(ModuleFiles, NamesAndDirectory) {
    mModule plugin(pluginFile, true);
    EXPECT_STREQ(plugin.getModuleName(false).c_str(), pluginFile);
    EXPECT_STREQ(plugin.getModuleName(true).c_str(), "VelnorTestPlugin");
    // The trailing dot keeps the platform from adding an extension of its own.
    EXPECT_STREQ(mModule("VelnorTestNoExt.", true).getModuleName(true).c_str(), "VelnorTestNoExt");
    // The tests run where the modules were built, next to each other.
    mFSdir here = plugin.getModuleDirectory();
    EXPECT_STREQ(here.getName().c_str(), "bin");
    EXPECT_STREQ(mModule::getVelnor()->getModuleDirectory().getFullPath().c_str(), here.getFullPath().c_str());
}

TEST(ModuleLoading, EntryPointsUnloadingAndAMissingFile) {
    auto *plugin = new mModule(pluginFile, true);
    auto answer = reinterpret_cast<int (*)(void)>(plugin->getEntryPoint("pluginAnswer"));
    EXPECT_EQ(answer ? answer() : 0, 42);
    EXPECT_EQ(plugin->getEntryPoint("noSuchEntry"), nullptr);
    // A second wrapper that does not own the module leaves it loaded.
    delete new mModule(plugin->getInstance());
    EXPECT_NE(GetModuleHandleA(pluginFile), nullptr);
    delete plugin;
    EXPECT_EQ(GetModuleHandleA(pluginFile), nullptr);

    mError e = errorOf([] { mModule missing("VelnorNoSuchModule.dll", true); });
    EXPECT_STREQ(e.message.c_str(), "Module Not Found");
    EXPECT_NE(e.value, 0);
}

TEST(ModuleResources, StringsComeFromTheirOwnModuleCutToTheBuffer) {
    mModule plugin(pluginFile, true);
    EXPECT_STREQ(title()->loadString(STR_GREETING).c_str(), "Greetings from the title");
    EXPECT_STREQ(plugin.loadString(STR_GREETING).c_str(), "Greetings from the plug-in");
    EXPECT_TRUE(plugin.loadString(STR_LONG).empty());
    // 300 digits in the table; 248 of them and the end byte fill the buffer.
    std::string digits;
    for (int i = 0; i < 248; ++i)
        digits += (char)('0' + i % 10);
    EXPECT_STREQ(title()->loadString(STR_LONG).c_str(), digits.c_str());
}

TEST(ModuleResources, FoundByTypeAndIdInTheirOwnModule) {
    // The bitmap and the compressed block share an id; the type tells them apart.
    long size = 0;
    auto *info = static_cast<const unsigned char *>(title()->loadBitMapResource(size, RES_BITMAP));
    ASSERT_EQ(size, 40 + 4 * 4 + 3 * 8);
    EXPECT_EQ(mModule::leReadLong(info + 4), 5);
    EXPECT_EQ(mModule::leReadWord(info + 14), 8);
    const void *data = title()->loadAnyResource("IMPAKBMP", size, RES_BLOCK);
    ASSERT_EQ(size, 20);
    auto *decoded = static_cast<char *>(mModule::decodeCompressed(data, size));
    EXPECT_EQ(std::string(decoded, size), "velnor11velnor11velnor11");
    mApp::free(decoded);
    title()->freeResource(data);

    size = -5;
    mError e = errorOf([&] { title()->loadAnyResource("IMPAKBMP", size, RES_MISSING); });
    EXPECT_STREQ(e.message.c_str(), "Resource not found");
    EXPECT_EQ(e.value, RES_MISSING);
    EXPECT_EQ(size, -5);
    mModule bare(bareFile, true);
    EXPECT_STREQ(errorOf([&] { bare.loadBitMapResource(size, RES_BITMAP); }).message.c_str(), "Resource not found");
}

TEST(ModuleCompressed, TheStoredSizesRuleNotTheBytesAvailable) {
    // Three literals: a flag byte and "abc". Bytes behind the block belong to something else.
    const std::vector<unsigned char> abc = {0x07, 'a', 'b', 'c'};
    std::vector<unsigned char> data = block(3, 12, {0x07, 'a', 'b', 'c', 0xFF, 'x'});
    long size = (long)data.size();
    auto *decoded = static_cast<char *>(mModule::decodeCompressed(data.data(), size));
    EXPECT_EQ(std::string(decoded, size), "abc");
    mApp::free(decoded);

    auto decodeError = [](long decoded, long stored, long available, const std::vector<unsigned char> &stream) {
        std::vector<unsigned char> data = block(decoded, stored, stream);
        return errorOf([&] { mApp::free(mModule::decodeCompressed(data.data(), available)); }).message;
    };
    // Rows of decoded size, stored size and bytes at hand: too few bytes for the header or the
    // block, a stored size below the header, nothing or more than four bytes of stream can give
    // (refused before anything is allocated), and three literals for five bytes.
    const long lies[][3] = {{3, 12, 7}, {0, 12, 12}, {-3, 12, 12}, {3, 13, 12}, {3, 4, 12},
                            {0x100000, 12, 12}, {0x7FFFFFFF, 12, 12}, {5, 12, 12}};
    for (const long *lie : lies)
        EXPECT_STREQ(decodeError(lie[0], lie[1], lie[2], abc).c_str(), "Short compression file")
            << lie[0] << " in " << lie[1] << " of " << lie[2];
    // Eight literals for four bytes stop at the block's end; a reference cut after its first byte.
    EXPECT_STREQ(decodeError(4, 17, 17, {0xFF, 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'}).c_str(),
                 "Compressed data overruns its block");
    EXPECT_STREQ(decodeError(6, 13, 13, {0x07, 'a', 'b', 'c', 0x00}).c_str(), "Hit EOF on decompression");
}
