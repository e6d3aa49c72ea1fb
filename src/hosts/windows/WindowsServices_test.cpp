// The Windows services against the system as Wine provides it: the registry lookup of the PDF
// application set up with reg.exe, and USB master discovery through the real
// CoGetObject("winmgmts:") path, fed scripted Win32_PnPEntity records by a stand-in moniker.
#include "WindowsServices.h"

#include <gtest/gtest.h>

#include <fstream>

#include "ComTypes.h"
#include "Module.h"
#include "Registration.h"
#include "tools/Discovery.h"
#include "tools/TextHelpers.h"
#include "tools/Vb.h"

using namespace kestrova;
using namespace kestrova::win;

namespace {

// Runs reg.exe in the prefix, as "wine reg" does from outside; answers its exit status.
DWORD Reg(const std::wstring& arguments) {
    std::wstring line = L"reg.exe " + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr,
                        nullptr, &startup, &process))
        return static_cast<DWORD>(-1);
    WaitForSingleObject(process.hProcess, 30000);
    DWORD status = 0;
    GetExitCodeProcess(process.hProcess, &status);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return status;
}

TEST(WindowsServices, PdfApplicationFromTheRegistryWithItsDeliberateCut) {
    struct Case {
        const char* Name;
        const wchar_t* TypeName;  // default value of HKCR\.kpdf, null for no key
        const wchar_t* Command;   // its shell\open\command, null for none
        const char* Expected;
    } cases[] = {
        {"quoted program with an argument", L"KestrovaPdf",
         LR"("C:\Pdf Reader\reader.exe" /open "%1")", R"("C:\Pdf Reader\reader.exe")"},
        {"plain program with options", L"KestrovaPdf", LR"(C:\Tools\VIEWER.EXE -n %1)",
         R"(C:\Tools\VIEWER.EXE)"},
        {"line ending exactly in .exe loses its last letter", L"KestrovaPdf",
         LR"(C:\Tools\viewer.exe)", R"(C:\Tools\viewer.ex)"},
        {"no command registered", L"KestrovaNoCommand", nullptr, ""},
        {"extension not registered", nullptr, nullptr, ""},
    };
    WindowsServices services;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.Name);
        Reg(LR"(delete HKCR\.kpdf /f)");
        if (c.TypeName) {
            ASSERT_EQ(Reg(LR"(add HKCR\.kpdf /ve /d )" + std::wstring(c.TypeName) + L" /f"), 0u);
        }
        if (c.Command) {
            std::wstring command = c.Command;
            std::wstring escaped;
            for (wchar_t ch : command)
                escaped += ch == L'"' ? std::wstring(L"\\\"") : std::wstring(1, ch);
            ASSERT_EQ(Reg(L"add HKCR\\" + std::wstring(c.TypeName) +
                          L"\\Shell\\open\\command /ve /d \"" + escaped + L"\" /f"),
                      0u);
        }
        EXPECT_EQ(services.OpenCommand(".kpdf"), c.Expected);
        EXPECT_EQ(services.OpenCommand(".KPDF"), c.Expected);
    }
    Reg(LR"(delete HKCR\.kpdf /f)");
    Reg(LR"(delete HKCR\KestrovaPdf /f)");
}

TEST(WindowsServices, ProgramDirectoryIsTheFolderOfTheModule) {
    WindowsServices services;
    const std::string dir = services.ProgramDirectory();
    ASSERT_FALSE(dir.empty());
    EXPECT_NE(dir.back(), '\\');
    EXPECT_EQ(ModulePath().rfind(dir + "\\", 0), 0u);
}

TEST(WindowsServices, StartDocumentQuotesTheDocument) {
    EXPECT_EQ(DocumentCommandLine(R"("C:\A B\r.exe")", R"(C:\x\Manual\ds 1.pdf)"),
              R"("C:\A B\r.exe" "C:\x\Manual\ds 1.pdf")");
    WindowsServices services;
    EXPECT_FALSE(services.StartDocument(R"(C:\nowhere\missing.exe)", "x.pdf"));
}

TEST(WindowsServices, FilesOpenByAnyUnicodeName) {
    const std::string dir = std::string(getenv("TEMP") ? getenv("TEMP") : ".");
    const std::string path = dir + "\\J\xC3\xBCrgen \xE2\x82\xAC EventLog.txt";  // Jürgen € ...
    DeleteFileW(Widen(path).c_str());
    EXPECT_FALSE(FileCanOpen(path));
    std::FILE* file = OpenFile(path, "wb");
    ASSERT_NE(file, nullptr);
    std::fputs("Number;Instance;Mode;EventCode;HexValues\r\n", file);
    std::fclose(file);
    EXPECT_TRUE(FileCanOpen(path));
    EXPECT_FALSE(FileCanOpen(dir));  // a folder is no file
    EXPECT_TRUE(DeleteFileW(Widen(path).c_str()));
}

// Points "winmgmts:" at the stand-in moniker beside the test program for one test, and back.
class ScriptedWmi : public testing::Test {
  protected:
    void SetUp() override {
        original_ = Default(L"winmgmts\\CLSID");
        script_ = std::string(getenv("TEMP") ? getenv("TEMP") : ".") + "\\kestrova-wmi.txt";
        SetEnvironmentVariableW(L"KESTROVA_WMI_SCRIPT", Widen(script_).c_str());
        const std::wstring clsid = L"{8552BA17-0E1E-4D30-B1D2-E75F6E2C7C31}";
        ASSERT_TRUE(SetDefault(L"CLSID\\" + clsid + L"\\InprocServer32",
                               Widen(ModuleDirectory()) + L"\\WmiScript.dll"));
        ASSERT_TRUE(SetDefault(L"winmgmts\\CLSID", clsid));
    }
    void TearDown() override {
        if (!original_.empty()) SetDefault(L"winmgmts\\CLSID", original_);
        RegDeleteTreeW(HKEY_CLASSES_ROOT, L"CLSID\\{8552BA17-0E1E-4D30-B1D2-E75F6E2C7C31}");
        DeleteFileW(Widen(script_).c_str());
    }
    void Script(const std::vector<std::string>& records) {
        std::ofstream out(script_, std::ios::trunc);
        for (const std::string& r : records) out << r << "\n";
    }
    static std::wstring Default(const std::wstring& key) {
        wchar_t value[256] = {};
        DWORD size = sizeof value - sizeof(wchar_t);
        if (RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, value,
                         &size))
            return {};
        return value;
    }
    static bool SetDefault(const std::wstring& key, const std::wstring& value) {
        return RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, REG_SZ, value.c_str(),
                               static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t))) ==
               ERROR_SUCCESS;
    }

    std::string script_;
    std::wstring original_;
};

const std::vector<std::string> kShop = {
    R"(USB\VID_0403&PID_6001\A9K2L1|USB Serial Port (COM5))",
    R"(USB\VID_0403&PID_7C31\5&2B3C4D|Halver+Voss IO-Link USB Master (COM12))",
    R"(USB\VID_0403&PID_7CFF\7&11|IO-Link USB Master (COM7))",
    R"(USB\VID_1234&PID_7C31\X1|Other vendor's master (COM9))",
    R"(ACPI\PNP0501\1|Communications Port (COM1))",
    "a record without properties",
};

TEST_F(ScriptedWmi, SupportedMasterBesideOtherAdaptersAndAnUnsupportedOne) {
    Script(kShop);
    WindowsServices services;
    struct Presence {
        const char* Id;
        bool Present;
    } presence[] = {{"7c31COM12", true}, {"7C31com12", true},  {"7c31COM5", false},
                    {"7c31COM9", false}, {"7c32COM12", false}, {"7c31COM1", false}};
    for (const Presence& p : presence)
        EXPECT_EQ(IsMasterPresent(services, p.Id), p.Present) << p.Id;

    for (int16_t language : {9, 7}) {
        PortList list;
        bool changed = false;
        EXPECT_TRUE(ListMasters(services, language, list, changed));
        EXPECT_TRUE(changed);  // an unsupported master counts as a change on every read
        EXPECT_EQ(list, (PortList{{"COM12", "Halver+Voss IO-Link USB Master"},
                                  {"COM7", "IO-Link USB Master " + NotSupportedText(language)}}));
    }
    EXPECT_EQ(NotSupportedText(7), "(nicht unterst\xC3\xBCtzt)");
    EXPECT_EQ(FindNewMaster(services), "COM12");
}

TEST_F(ScriptedWmi, InstancesAreKeptUntilTheFullListingRenewsThem) {
    Script(kShop);
    WindowsServices services;
    EXPECT_TRUE(IsMasterPresent(services, "7c31COM12"));
    Script({R"(USB\VID_0403&PID_7C33\9|Dravik IO-Link USB Master (COM4))"});  // unplugged, another
                                                                              // plugged
    EXPECT_TRUE(IsMasterPresent(services, "7c31COM12"));                      // the kept set
    PortList list;
    bool changed = false;
    EXPECT_TRUE(ListMasters(services, 9, list, changed));  // reads the kept set, then renews it
    EXPECT_FALSE(IsMasterPresent(services, "7c31COM12"));
    EXPECT_TRUE(IsMasterPresent(services, "7c33COM4"));
}

TEST_F(ScriptedWmi, NoMastersAndNoWmiFindNothing) {
    Script({});
    WindowsServices services;
    PortList list{{"COM3", "Halver+Voss IO-Link USB Master"}};
    bool changed = false;
    EXPECT_FALSE(ListMasters(services, 9, list, changed));
    EXPECT_TRUE(changed);
    EXPECT_TRUE(list.empty());

    ASSERT_TRUE(SetDefault(L"winmgmts\\CLSID", L"{00000000-0000-0000-0000-00000000DEAD}"));
    WindowsServices unreachable;
    EXPECT_FALSE(IsMasterPresent(unreachable, "7c31COM12"));
    EXPECT_THROW(unreachable.UsbInventory(), VbError);
}

TEST(WindowsServices, WinesOwnWmiAnswersThePnpEntities) {
    WindowsServices services;
    std::vector<ui::InventoryRecord> records;
    ASSERT_NO_THROW(records = services.UsbInventory());
    EXPECT_FALSE(records.empty());
    PortList list;
    bool changed = false;
    EXPECT_FALSE(ListMasters(services, 9, list, changed));  // no USB masters in a fresh prefix
}

}  // namespace
