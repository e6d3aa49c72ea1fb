// Small text and shell helpers: caption escaping, the application registered for a file type
// and a check that a file can be opened.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace kestrova {

// A text ready for a caption: every "&" doubled (no access key), then the first "H+V" written out
// as the brand's full name. Later occurrences of "H+V" stay as they are.
std::string CaptionText(std::string_view text);

// The program part of a registered open command: cut after the first ".EXE" (any case) plus one
// character, then drop that character unless it is the closing quote. A line ending exactly in
// ".EXE" therefore loses its last letter, as the original lookup did. A line without ".EXE" is
// returned as it stands.
std::string CutOpenCommand(std::string_view commandLine);

// The program registered to open files of the extension (".pdf"). Windows only: it reads the
// class registration; elsewhere the host's services answer this and the result is empty.
// Lookup failures are ignored: the result is what was found, possibly empty.
std::string GetOpenCommand(const std::string& extension);

// Whether the file exists and can be opened for reading (a directory cannot). On Windows the
// file API answers (a handle other than INVALID_HANDLE_VALUE, closed at once).
bool FileCanOpen(const std::string& path);

// fopen for a UTF-8 path; on Windows through the wide API, so any file name the user picks
// opens, not only those of the ANSI code page.
std::FILE* OpenFile(const std::string& path, const char* mode);

}  // namespace kestrova
