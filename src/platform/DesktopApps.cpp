#include "platform/DesktopApps.h"

#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tools/Vb.h"

extern char** environ;

namespace kestrova::platform {

namespace {

std::vector<std::string> SplitList(const std::string& text, char separator) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find(separator, start);
        if (end == std::string::npos) end = text.size();
        std::string part = Trim(text.substr(start, end - start));
        if (!part.empty()) parts.push_back(part);
        start = end + 1;
    }
    return parts;
}

std::string Env(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string StripLineEnd(std::string line) {
    while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.pop_back();
    return line;
}

// Key and value of a "key=value" line; false for anything else.
bool KeyValue(const std::string& line, std::string& key, std::string& value) {
    const size_t eq = line.find('=');
    if (eq == std::string::npos) return false;
    key = Trim(line.substr(0, eq));
    value = Trim(line.substr(eq + 1));
    return !key.empty();
}

bool IsGroup(const std::string& line) {
    const std::string t = Trim(line);
    return t.size() >= 2 && t.front() == '[' && t.back() == ']';
}

}  // namespace

XdgDirs XdgDirsFromEnvironment() {
    XdgDirs dirs;
    const std::string home = Env("HOME");
    std::string configHome = Env("XDG_CONFIG_HOME");
    if (configHome.empty() && !home.empty()) configHome = home + "/.config";
    if (!configHome.empty()) dirs.Config.push_back(configHome);
    std::string configDirs = Env("XDG_CONFIG_DIRS");
    if (configDirs.empty()) configDirs = "/etc/xdg";
    for (auto& d : SplitList(configDirs, ':')) dirs.Config.push_back(d);

    std::string dataHome = Env("XDG_DATA_HOME");
    if (dataHome.empty() && !home.empty()) dataHome = home + "/.local/share";
    if (!dataHome.empty()) dirs.Data.push_back(dataHome);
    std::string dataDirs = Env("XDG_DATA_DIRS");
    if (dataDirs.empty()) dataDirs = "/usr/local/share:/usr/share";
    for (auto& d : SplitList(dataDirs, ':')) dirs.Data.push_back(d);

    for (auto& d : SplitList(Env("XDG_CURRENT_DESKTOP"), ':')) dirs.Desktops.push_back(LCase(d));
    return dirs;
}

std::vector<std::string> DefaultsFromMimeApps(std::istream& in, const std::string& mimeType) {
    std::vector<std::string> result;
    bool inDefaults = false;
    std::string line;
    while (std::getline(in, line)) {
        line = StripLineEnd(line);
        if (IsGroup(line)) {
            inDefaults = Trim(line) == "[Default Applications]";
            continue;
        }
        std::string key, value;
        if (!inDefaults || line.starts_with('#') || !KeyValue(line, key, value)) continue;
        if (!IEquals(key, mimeType)) continue;
        for (auto& entry : SplitList(value, ';')) result.push_back(entry);
    }
    return result;
}

std::string ExecFromDesktopEntry(std::istream& in) {
    bool inEntry = false, hidden = false;
    std::string exec, line;
    while (std::getline(in, line)) {
        line = StripLineEnd(line);
        if (IsGroup(line)) {
            inEntry = Trim(line) == "[Desktop Entry]";
            continue;
        }
        std::string key, value;
        if (!inEntry || line.starts_with('#') || !KeyValue(line, key, value)) continue;
        if (key == "Exec" && exec.empty()) exec = value;
        if (key == "Hidden" && value == "true") hidden = true;
    }
    if (hidden) return {};

    // Field codes stand for files, URLs and the entry's own data: the document is appended by
    // the caller instead. "%%" is a literal percent sign.
    std::string command;
    for (size_t i = 0; i < exec.size(); ++i) {
        if (exec[i] != '%') {
            command += exec[i];
        } else if (i + 1 < exec.size()) {
            if (exec[i + 1] == '%') command += '%';
            ++i;
        }
    }
    // Sandbox launchers mark where forwarded files go; without files the marks must go too.
    std::string tidy;
    for (const std::string& word : SplitList(command, ' ')) {
        if (word == "@@" || word == "@@u" || word == "@@f") continue;
        if (!tidy.empty()) tidy += ' ';
        tidy += word;
    }
    return tidy;
}

std::string DefaultApplicationFor(const std::string& mimeType, const XdgDirs& dirs) {
    std::vector<std::string> lists;
    for (const auto& dir : dirs.Config) {
        for (const auto& desktop : dirs.Desktops)
            lists.push_back(dir + "/" + desktop + "-mimeapps.list");
        lists.push_back(dir + "/mimeapps.list");
    }
    for (const auto& dir : dirs.Data) {
        for (const auto& desktop : dirs.Desktops)
            lists.push_back(dir + "/applications/" + desktop + "-mimeapps.list");
        lists.push_back(dir + "/applications/mimeapps.list");
    }
    for (const auto& list : lists) {
        std::ifstream in(list);
        if (!in) continue;
        for (const auto& entry : DefaultsFromMimeApps(in, mimeType)) {
            // "vendor-app.desktop" may live as "vendor/app.desktop".
            std::vector<std::string> names = {entry};
            const size_t dash = entry.find('-');
            if (dash != std::string::npos) {
                std::string nested = entry;
                nested[dash] = '/';
                names.push_back(nested);
            }
            for (const auto& dir : dirs.Data)
                for (const auto& name : names) {
                    std::ifstream desktop(dir + "/applications/" + name);
                    if (!desktop) continue;
                    std::string exec = ExecFromDesktopEntry(desktop);
                    if (!exec.empty()) return exec;
                }
        }
    }
    return {};
}

std::string OpenCommandForExtension(const std::string& extension) {
    if (IEquals(extension, ".pdf"))
        return DefaultApplicationFor("application/pdf", XdgDirsFromEnvironment());
    return {};
}

std::vector<std::string> SplitCommandLine(const std::string& commandLine) {
    std::vector<std::string> args;
    std::string current;
    bool inQuotes = false, any = false;
    for (size_t i = 0; i < commandLine.size(); ++i) {
        const char c = commandLine[i];
        if (inQuotes) {
            if (c == '\\' && i + 1 < commandLine.size()) {
                current += commandLine[++i];
            } else if (c == '"') {
                inQuotes = false;
            } else {
                current += c;
            }
        } else if (c == '"') {
            inQuotes = true;
            any = true;
        } else if (c == ' ' || c == '\t') {
            if (any || !current.empty()) args.push_back(current);
            current.clear();
            any = false;
        } else {
            current += c;
        }
    }
    if (any || !current.empty()) args.push_back(current);
    return args;
}

bool StartDocument(const std::string& application, const std::string& document) {
    std::vector<std::string> args = SplitCommandLine(application);
    if (args.empty()) return false;
    args.push_back(document);
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    if (posix_spawnp(&pid, argv[0], nullptr, nullptr, argv.data(), environ) != 0) return false;
    // The viewer lives on by itself; only its exit status must be collected.
    std::thread([pid] {
        int status = 0;
        waitpid(pid, &status, 0);
    }).detach();
    return true;
}

}  // namespace kestrova::platform
