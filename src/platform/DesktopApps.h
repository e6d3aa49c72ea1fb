// The desktop's default application for a file type, from the XDG MIME associations
// (mimeapps.list and the .desktop entries), and starting it with a document without a shell.
#pragma once

#include <istream>
#include <string>
#include <vector>

namespace kestrova::platform {

// Where the associations and desktop entries are looked for, most important first.
struct XdgDirs {
    std::vector<std::string> Config;    // $XDG_CONFIG_HOME, then $XDG_CONFIG_DIRS
    std::vector<std::string> Data;      // $XDG_DATA_HOME, then $XDG_DATA_DIRS
    std::vector<std::string> Desktops;  // $XDG_CURRENT_DESKTOP, lower case ("gnome")
};
XdgDirs XdgDirsFromEnvironment();

// The desktop entries one mimeapps.list names as default for the MIME type, in order.
std::vector<std::string> DefaultsFromMimeApps(std::istream& in, const std::string& mimeType);
// The Exec line of a desktop entry's main group, with its field codes (%f, %U, ...) and the
// file-forwarding marks removed and the blanks tidied; empty when there is none or the entry
// is hidden.
std::string ExecFromDesktopEntry(std::istream& in);

// The command (program and fixed arguments) of the default application for the MIME type, or
// empty text when none is registered or its entry cannot be found.
std::string DefaultApplicationFor(const std::string& mimeType, const XdgDirs& dirs);
// The same for a file extension (".PDF", any case); unknown extensions have none.
std::string OpenCommandForExtension(const std::string& extension);

// A command line cut into arguments: blanks separate, double quotes group, a backslash inside
// quotes escapes the next character.
std::vector<std::string> SplitCommandLine(const std::string& commandLine);

// Starts the application (its command line) with the document as last argument, directly,
// without a shell. False when it cannot be started.
bool StartDocument(const std::string& application, const std::string& document);

}  // namespace kestrova::platform
