#include "tools/TextHelpers.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace kestrova {
namespace {

TEST(CaptionText, DoublesAmpersandsAndWritesOutTheFirstBrandAbbreviation) {
    struct Row {
        const char* in;
        const char* out;
    };
    const Row rows[] = {
        {"", ""},
        {"A&B", "A&&B"},
        {"&&", "&&&&"},
        {"H+V IO-Link USB Master", "Halver+Voss IO-Link USB Master"},
        {"H+V and H+V", "Halver+Voss and H+V"},
        {"Halver+Voss GmbH & Co. KG", "Halver+Voss GmbH && Co. KG"},
        {"h+v stays", "h+v stays"},
    };
    for (const Row& r : rows) EXPECT_EQ(CaptionText(r.in), r.out) << r.in;
}

TEST(CutOpenCommand, KeepsTheProgramPathOnly) {
    struct Row {
        const char* line;
        const char* program;
    };
    const Row rows[] = {
        // Quoted path, blank, argument: both quotes stay.
        {"\"C:\\Program Files\\Reader\\AcroRd32.exe\" \"%1\"",
         "\"C:\\Program Files\\Reader\\AcroRd32.exe\""},
        // Unquoted path with options: the path alone, without the blank.
        {"C:\\Tools\\pdfview.EXE /n /open \"%1\"", "C:\\Tools\\pdfview.EXE"},
        {"c:\\x\\Viewer.Exe,1", "c:\\x\\Viewer.Exe"},
        // Ending exactly in ".EXE" there is no extra character, so the last letter goes.
        {"C:\\Tools\\view.exe", "C:\\Tools\\view.ex"},
        {"", ""},
        // Nothing to cut at.
        {"evince", "evince"},
    };
    for (const Row& r : rows) EXPECT_EQ(CutOpenCommand(r.line), r.program) << r.line;
}

TEST(FileCanOpen, OnlyReadableFiles) {
    namespace fs = std::filesystem;
    const fs::path dir = fs::temp_directory_path() / "kestrova_filecanopen";
    fs::create_directories(dir);
    const fs::path file = dir / "sheet.pdf";
    std::ofstream(file) << "%PDF-1.4";
    EXPECT_TRUE(FileCanOpen(file.string()));
    EXPECT_FALSE(FileCanOpen((dir / "missing.pdf").string()));
    EXPECT_FALSE(FileCanOpen(dir.string()));
    EXPECT_FALSE(FileCanOpen(""));
    fs::remove_all(dir);
}

TEST(GetOpenCommand, HasNoRegistryHere) {
    EXPECT_EQ(GetOpenCommand(".pdf"), "");
}

}  // namespace
}  // namespace kestrova
