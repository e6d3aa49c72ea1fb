#include "tools/TextHelpers.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <utility>

namespace kestrova {
namespace {

TEST(CaptionText, DoublesAmpersandsAndWritesOutTheFirstBrandAbbreviation) {
    for (const auto& [in, out] : {std::pair{"", ""},
                                  {"A&B", "A&&B"},
                                  {"&&", "&&&&"},
                                  {"H+V IO-Link USB Master", "Halver+Voss IO-Link USB Master"},
                                  {"H+V and H+V", "Halver+Voss and H+V"},
                                  {"Halver+Voss GmbH & Co. KG", "Halver+Voss GmbH && Co. KG"},
                                  {"h+v stays", "h+v stays"}})
        EXPECT_EQ(CaptionText(in), out) << in;
}

TEST(CutOpenCommand, KeepsTheProgramPathOnly) {
    // A quoted path keeps both quotes; an unquoted one loses the blank after it. Ending
    // exactly in ".EXE" there is no extra character, so the last letter goes.
    for (const auto& [line, program] :
         {std::pair{"\"C:\\Program Files\\Reader\\AcroRd32.exe\" \"%1\"",
                    "\"C:\\Program Files\\Reader\\AcroRd32.exe\""},
          {"C:\\Tools\\pdfview.EXE /n /open \"%1\"", "C:\\Tools\\pdfview.EXE"},
          {"c:\\x\\Viewer.Exe,1", "c:\\x\\Viewer.Exe"},
          {"C:\\Tools\\view.exe", "C:\\Tools\\view.ex"},
          {"", ""},
          {"evince", "evince"}})
        EXPECT_EQ(CutOpenCommand(line), program) << line;
}

TEST(FileCanOpen, OnlyReadableFiles) {
    namespace fs = std::filesystem;
    const fs::path dir = "kestrova_filecanopen";  // in the test's own working folder
    fs::create_directories(dir);
    std::ofstream(dir / "sheet.pdf") << "%PDF-1.4";
    EXPECT_TRUE(FileCanOpen((dir / "sheet.pdf").string()));
    EXPECT_FALSE(FileCanOpen((dir / "missing.pdf").string()));
    EXPECT_FALSE(FileCanOpen(dir.string()));
    EXPECT_FALSE(FileCanOpen(""));
    fs::remove_all(dir);
}

}  // namespace
}  // namespace kestrova
