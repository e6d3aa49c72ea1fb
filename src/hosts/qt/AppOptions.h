// The command line of the desktop application.
#pragma once

#include <string>
#include <vector>

namespace kestrova::qt {

// FDT function ids the control serves.
inline constexpr int kFunctionConfigure = 1;
inline constexpr int kFunctionExpert = 2;
inline constexpr int kFunctionAbout = 3;

// Windows locale ids the business object takes as "Language".
inline constexpr int kLocaleGerman = 1031;
inline constexpr int kLocaleEnglish = 1033;

struct AppOptions {
    int functionId = kFunctionExpert;
    int language = 0;             // kLocaleGerman or kLocaleEnglish; 0 follows the environment
    std::string profile;          // device behind the simulated port; empty for the default
    std::string master = "7c31";  // product id plugged at start; "none" for no master
    std::string port = "COM3";
    bool systemInventory = false;       // the host's real USB inventory instead of the simulator's
    std::vector<std::string> simLines;  // simulator control lines run before the DTM opens
    std::string page;                   // tree node (key or text) opened after start
    std::vector<std::string> clicks;    // control paths clicked once the page is open
    int clickAfterMs = 1000;
    std::string screenshot;  // PNG written after afterMs, then the program ends
    int afterMs = 2500;
    bool help = false;
    std::string bridge;  // command of a business object in another process; empty: simulator
    int bridgeTimeoutMs = 5000;
};

struct ParsedOptions {
    AppOptions options;
    std::string error;  // empty when the command line is good
};

// Parses the arguments after the program name.
ParsedOptions ParseOptions(const std::vector<std::string>& args);
std::string UsageText();

// German when the environment's language (LANGUAGE, LC_ALL, LC_MESSAGES, LANG) is German,
// English otherwise.
int LocaleFromEnvironment();

// The FDT function-call document for a function id.
std::string FunctionCallXml(int functionId);
// "Configure", "Expert", "About" (or "Function N").
std::string FunctionName(int functionId);

}  // namespace kestrova::qt
