// Plug-ins end to end: the project's sample plug-in loads, registers and unloads; libraries
// that cannot be plug-ins are refused one by one with a code and a log line, and nothing else
// changes.
#include <dlfcn.h>
#include <elf.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "foundation/TestDebugCapture.h"
#include "io/TKModuleDifference.h"
#include "io/TKModuleMgr.h"
#include "support/TestSupport.h"

namespace fs = std::filesystem;

namespace {

const char kSample[] = TINTARA_SAMPLE_PLUGIN;
const char kKind[] = "ColorDifference";

// Whether the loader has the file mapped now.
bool IsMapped(const std::string& path) {
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle) dlclose(handle);
    return handle != nullptr;
}

std::string Fixture(const std::string& variant) { return std::string(TINTARA_PLUGIN_FIXTURES) + "/" + variant + ".so"; }

class ModuleMgrTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "tk_plugins_XXXXXX").string();
        ASSERT_NE(mkdtemp(&pattern[0]), nullptr);
        fDir = pattern;
        fTrace = fDir + "/trace.txt";
        setenv("TK_FAULTY_TRACE", fTrace.c_str(), 1);
        fs::create_directory(Folder());
    }
    void TearDown() override {
        unsetenv("TK_FAULTY_TRACE");
        fs::remove_all(fDir);
    }
    std::string Folder() const { return fDir + "/Plugins"; }
    std::string Put(const std::string& name, const std::string& bytes) {
        std::ofstream(Folder() + "/" + name, std::ios::binary) << bytes;
        return Folder() + "/" + name;
    }
    static std::string Bytes(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    int TraceLines() const {
        std::ifstream in(fTrace);
        int lines = 0;
        for (std::string line; std::getline(in, line);) ++lines;
        return lines;
    }

    std::string fDir, fTrace;
    TKObjectMgr registry;
};

TEST_F(ModuleMgrTest, SamplePluginLoadsOnceRegistersAndUnloads) {
    ScopedDebugCapture capture;
    const std::string copy = Put("HyAB.so", Bytes(kSample));
    TKModuleMgr manager(registry);
    EXPECT_EQ(manager.LoadPlugins(TKFileSpec(TKString(Folder().c_str()))), 1);
    EXPECT_EQ(manager.LoadPlugins(TKFileSpec(TKString(Folder().c_str()))), 0) << "loaded once";
    ASSERT_EQ(manager.LoadedFiles().size(), 1u);
    EXPECT_TRUE(IsMapped(copy));

    TKRefPtr<TKRegisteredObject> method = registry.Find(kKind, "dhyab");
    ASSERT_TRUE(method);
    EXPECT_STREQ(method->LongName().CString(), "Delta-HyAB");
    EXPECT_STREQ(method->Module().CString(), "HyAB colour difference");
    EXPECT_GE(method->Code(), TKObjectMgr::kFirstModuleCode);
    EXPECT_NE(registry.Report().Find(" from "), -1);
    auto* difference = TKCast<TKModuleDifference>(method.Get(), "TKModuleDifference");
    ASSERT_NE(difference, nullptr);
    const double a[3] = {50, 0, 0}, b[3] = {60, 3, 4};
    EXPECT_DOUBLE_EQ(difference->Difference(a, b, 3), 15.0);
    EXPECT_TKERROR(difference->Difference(a, b, 2), MathErr);  // the plug-in answers NaN
    method = nullptr;

    manager.UnloadPlugins();
    EXPECT_FALSE(registry.Find(kKind, "Delta-HyAB"));
    EXPECT_FALSE(IsMapped(copy));
    const std::string log = capture.sink->All();
    for (const char* line : {"Loaded plug-in ", "Plug-in: HyAB registers Delta-HyAB", "Unloaded plug-in "})
        EXPECT_NE(log.find(line), std::string::npos) << line;
}

TEST_F(ModuleMgrTest, ObjectsInUseKeepTheirCodeLoaded) {
    TKModuleMgr manager(registry);
    manager.LoadPlugin(TKFileSpec(TKString(kSample)));
    TKRefPtr<TKRegisteredObject> held = registry.Find(kKind, "Delta-HyAB");
    manager.UnloadPlugins();
    EXPECT_TRUE(IsMapped(kSample));
    const double a[3] = {10, 1, 1};
    EXPECT_DOUBLE_EQ(TKCast<TKModuleDifference>(held.Get(), "TKModuleDifference")->Difference(a, a, 3), 0.0);
    held = nullptr;
    EXPECT_FALSE(IsMapped(kSample));
}

// The file's e_machine set to a processor this one is not.
std::string ForeignMachine(std::string elf) {
    const uint16_t own = uint16_t(uint8_t(elf[18]) | uint8_t(elf[19]) << 8);
    const uint16_t other = own == EM_AARCH64 ? EM_X86_64 : EM_AARCH64;
    elf[18] = char(other & 0xFF);
    elf[19] = char(other >> 8);
    return elf;
}

struct RefusalCase {
    const char* file;       // name in the plug-in folder
    const char* source;     // fixture variant to copy, or a kind of damaged sample
    int32_t code;
    const char* reason;     // part of the refusal's message
    bool unregisterCalled;  // the plug-in got to undo its registrations
};

class ModuleRefusalTest : public ModuleMgrTest, public ::testing::WithParamInterface<RefusalCase> {};

TEST_P(ModuleRefusalTest, IsRefusedAloneWithCodeAndLogLine) {
    const RefusalCase& c = GetParam();
    registry.Reserve(kKind, "dE00");
    std::string bytes;
    const std::string source = c.source;
    if (source == "text") bytes = "this is no library\n";
    else if (source == "truncated") bytes = Bytes(kSample).substr(0, 200);
    else if (source == "foreign") bytes = ForeignMachine(Bytes(kSample));
    else bytes = Bytes(Fixture(source));
    const std::string path = Put(c.file, bytes);

    ScopedDebugCapture capture;
    TKModuleMgr manager(registry);
    manager.LoadPlugin(TKFileSpec(TKString(kSample)));
    const TKString before = registry.Report();
    try {
        manager.LoadPlugins(TKFileSpec(TKString(Folder().c_str())));
        ADD_FAILURE() << "no refusal";
    } catch (const TKError& error) {
        EXPECT_EQ(error.code(), LibraryNLoadErr);
        EXPECT_EQ(std::string(error.message()), std::string("Couldn't load librarie(s): ") + c.file);
    }
    const auto refusals = manager.Refusals();
    ASSERT_EQ(refusals.size(), 1u);
    EXPECT_EQ(refusals[0].code, c.code);
    EXPECT_NE(std::string(refusals[0].message.CString()).find(c.reason), std::string::npos) << refusals[0].message.CString();
    EXPECT_STREQ(registry.Report().CString(), before.CString()) << "nothing registered, nothing lost";
    EXPECT_FALSE(IsMapped(path));
    ASSERT_EQ(manager.LoadedFiles().size(), 1u);
    EXPECT_EQ(TraceLines(), c.unregisterCalled ? 1 : 0);
    const std::string log = capture.sink->All();
    EXPECT_NE(log.find("Refused plug-in " + path + ": " + std::to_string(c.code)), std::string::npos) << log;
}

INSTANTIATE_TEST_SUITE_P(
    EachWayOfFailing, ModuleRefusalTest,
    ::testing::Values(RefusalCase{"Text.so", "text", SystemError, "not a shared library", false},
                      RefusalCase{"Truncated.so", "truncated", SystemError, "Couldn't load library", false},
                      RefusalCase{"Foreign.so", "foreign", SystemError, "built for machine", false},
                      RefusalCase{"NoEntry.so", "NO_ENTRY", UndefProc, "no entry point InitPlugin", false},
                      RefusalCase{"InitFails.so", "INIT_FAILS", InitializationError, "InitPlugin failed", false},
                      RefusalCase{"RegisterFails.so", "REGISTER_FAILS", CustomError, "RegisterModules failed", true},
                      RefusalCase{"Duplicate.so", "DUPLICATE", CreateObjectErr, "\"Delta-HyAB\": the name is taken", true},
                      RefusalCase{"BuiltIn.so", "BUILT_IN_NAME", CreateObjectErr, "\"dE00\": the name is taken", true},
                      RefusalCase{"BadMethod.so", "BAD_METHOD", ArgErr, "needs a function", true}));

TEST_F(ModuleMgrTest, FoldersThatAreNoPluginFolders) {
    TKModuleMgr manager(registry);
    EXPECT_EQ(manager.LoadPlugins(TKFileSpec(TKString(Folder().c_str()))), 0) << "an empty folder is no error";
    EXPECT_TKERROR(manager.LoadPlugins(TKFileSpec(TKString((fDir + "/missing").c_str()))), SystemError);
    Put("file.so", "x");
    EXPECT_TKERROR(manager.LoadPlugins(TKFileSpec(TKString((Folder() + "/file.so").c_str()))), SystemError);
    EXPECT_TKERROR(manager.LoadPlugin(TKFileSpec(TKString((fDir + "/missing.so").c_str()))), SystemError);
    EXPECT_TRUE(manager.LoadedFiles().empty());
}

TEST_F(ModuleMgrTest, IgnoredLibrariesAreNotOpened) {
    ScopedDebugCapture capture;
    const std::string copy = Put("HyAB.so", Bytes(kSample));
    Put("Text.so", "no library");
    TKModuleMgr manager(registry);
    manager.SetIgnoreList("Other;\tText.so, HyAB");
    EXPECT_EQ(manager.LoadPlugins(TKFileSpec(TKString(Folder().c_str()))), 0);
    EXPECT_FALSE(IsMapped(copy));
    EXPECT_NE(capture.sink->All().find("Ignored blacklisted library HyAB.so\n"), std::string::npos);
    EXPECT_NE(capture.sink->All().find("Ignored blacklisted library Text.so\n"), std::string::npos);
}

TEST_F(ModuleMgrTest, RegistrationOnlyWhileRegisterModulesRuns) {
    TKModuleMgr manager(registry);
    TKPluginColorDifference method = {"Delta-Late", nullptr, nullptr, 0x4C616220u,
                                      [](const double*, const double*, int32_t, void*) { return 0.0; }, nullptr};
    EXPECT_EQ(manager.AddColorDifference(&method), ArgErr);
    EXPECT_FALSE(registry.Find(kKind, "Delta-Late"));
}

TEST(ObjectMgrTest, RegistersAllOrNothingAndNumbersFromTheFirstModuleCode) {
    TKObjectMgr registry;
    registry.Reserve(kKind, "dE76");
    auto make = [](const char* name, const char* shortName) {
        return TKRefPtr<TKRegisteredObject>(new TKRegisteredObject(kKind, name, shortName, "", nullptr), true);
    };
    registry.Register({make("Delta-One", "d1"), make("Delta-Two", "")});
    EXPECT_EQ(registry.Find(kKind, "D1")->Code(), TKObjectMgr::kFirstModuleCode);
    EXPECT_EQ(registry.FindCode(kKind, TKObjectMgr::kFirstModuleCode + 1)->LongName(), "Delta-Two");
    EXPECT_STREQ(registry.Find(kKind, "delta-two")->Describe().CString(),
                 "ColorDifference Delta-Two (Generic Module) internal");
    EXPECT_FALSE(registry.Find("Intent", "Delta-One")) << "kinds are apart";

    // Each batch clashes somewhere: with a registered name, a reserved one, or itself.
    const std::vector<std::vector<TKRefPtr<TKRegisteredObject>>> clashing = {
        {make("Delta-Three", ""), make("Delta-One", "")},
        {make("Delta-Three", "DE76")},
        {make("Delta-Three", "d3"), make("Delta-Four", "D3")},
        {make("Delta-Three", "delta-two")}};
    for (const auto& batch : clashing) {
        EXPECT_TKERROR(registry.Register(batch), CreateObjectErr);
        EXPECT_FALSE(registry.Find(kKind, "Delta-Three"));
    }
    EXPECT_EQ(registry.Objects(kKind).size(), 2u);
    EXPECT_EQ(registry.Remove(nullptr), 2);
    EXPECT_TRUE(registry.Objects(kKind).empty());
    EXPECT_TKERROR(TKRegisteredObject(kKind, "", "", "", nullptr), ArgErr);
}

}  // namespace
