#include "link/ClsGUI.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "link/IOLinkComm.h"
#include "tools/Vb.h"

namespace kestrova {

namespace {

struct Date {
    int Year, Month, Day;
};

bool IsLeap(int y) {
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

int DaysIn(int year, int month) {
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeap(year) ? 29 : kDays[month - 1];
}

// One field of the date: digits only, or -1.
int DateField(const std::string& s) {
    return IsDigits(s) ? std::stoi(s) : -1;
}

// The date item has its numbers at fixed places: year 1-4, month 6-7, day from 9 (two
// characters only when the text is exactly ten long).
Date ParseDtmDate(const std::string& d) {
    const size_t dayLength = CharCount(d) == 10 ? 2 : 1;
    const Date date{DateField(Mid(d, 1, 4)), DateField(Mid(d, 6, 2)),
                    DateField(Mid(d, 9, dayLength))};
    if (date.Year < 100 || date.Month < 1 || date.Month > 12 || date.Day < 1 ||
        date.Day > DaysIn(date.Year, date.Month))
        Raise(vberr::TypeMismatch,
              "Type mismatch: the DTM date \"" + d + "\" is not a date of the form yyyy-mm-dd");
    return date;
}

}  // namespace

std::string ClsGUI::ProtocolID() const {
    return "2C4CD8B8-D509-4ECB-94A7-019F12569C8B";
}

void ClsGUI::SetDtm(std::shared_ptr<IGuiBridge> dtm) {
    Device.SetDtm(dtm);
    Dtm = std::move(dtm);
    if (!Dtm) return;

    const Date date = ParseDtmDate(GetItem("DTMDate"));
    char german[32];
    std::snprintf(german, sizeof german, "%02d.%02d.%04d", date.Day, date.Month, date.Year);
    // English without leading zeros and in another order; the asymmetry is wanted.
    const std::string english =
        Str(int64_t{date.Year}) + "/" + Str(int64_t{date.Month}) + "/" + Str(int64_t{date.Day});
    SetUILabel("Date", german, english);

    const std::string version = GetItem("DTMVersion");
    SetUILabel("Version", version, version);
}

void ClsGUI::SetActualDeviceIdentifier(const std::string& identifier) {
    if (identifier == ActualDeviceIdentifier) return;
    ActualDeviceIdentifier = identifier;
    if (Dtm) Dtm->SetItem("USBDevice", identifier);
}

void ClsGUI::CheckOnlineState() {
    if (!Dtm) return;
    const std::string state = GetItem("ConnectionState");
    const size_t comma = state.find(',');
    const std::string word = Trim(state.substr(0, comma));
    const std::string rest = comma == std::string::npos ? "" : Trim(state.substr(comma + 1));

    if (IEquals(word, "OFFLINE")) {
        ConnectionStateCode = OFFLINE;
    } else if (IEquals(word, "ONLINE-")) {
        ConnectionStateCode = LOST;
    } else if (IEquals(word, "ONLINE+")) {
        // Online, but the newest event says the device does not fit (code 26).
        ConnectionStateCode = FOUND;
        const int16_t newest = std::min<int16_t>(Device.EventCount, ClsDevice::kMaxEvents);
        if (newest > 0 && Device.GetEvent(newest).Code == 26) ConnectionStateCode = WRONG;
    } else if (IEquals(word, "SIO")) {
        ConnectionStateCode = SIO;
    } else if (IEquals(word, "RESET")) {
        ConnectionStateCode = RESETTED;
    }
    DtmConnected = rest == "TRUE";
    Device.SetSensorState(ConnectionStateCode);

    if (ConnectionStateCode == RESETTED && ConnectPending) {
        if (IolConnect(*Dtm)) ConnectPending = false;
    }
}

std::string ClsGUI::GetItem(const std::string& name) {
    if (!Dtm) return {};
    return Dtm->SendCommand(name).ToText();
}

void ClsGUI::LogEvent(const std::string& message) {
    if (Dtm) Dtm->SetItem("LOGGER", message);
}

int16_t ClsGUI::GetLanguage() {
    // The item is a Windows locale identifier (1031 German, 2055 Swiss German...). An empty item
    // counts as 0 and anything that is not a number falls back to English as well.
    double lcid = 0;
    const std::string item = GetItem("Language");
    bool german = false;
    if (TryCDbl(item, lcid) && std::fabs(lcid) < 2147483647.0)
        german = (CLng(lcid) & 0xFF) == kGerman;
    Language = german ? kGerman : kEnglish;
    return Language;
}

size_t ClsGUI::KeyHash::operator()(std::string_view key) const {
    uint64_t h = 14695981039346656037ull;  // FNV-1a over the upper-cased bytes
    for (char c : key) {
        h ^= static_cast<unsigned char>(c >= 'a' && c <= 'z' ? c - 32 : c);
        h *= 1099511628211ull;
    }
    return static_cast<size_t>(h);
}

bool ClsGUI::KeyEqual::operator()(std::string_view a, std::string_view b) const {
    return IEquals(a, b);
}

bool ClsGUI::AddLabel(std::string_view key, std::string_view german, std::string_view english) {
    // First registration wins: pages register shared keys more than once.
    if (labels_.empty()) labels_.reserve(512);  // the catalogue and every page's table
    return labels_.try_emplace(key, Texts{german, english}).second;
}

const ClsGUI::Texts* ClsGUI::FindLabel(std::string_view key) const {
    const auto it = labels_.find(key);
    return it == labels_.end() ? nullptr : &it->second;
}

std::string ClsGUI::GetUILabel(std::string_view key) const {
    const bool german = Language == kGerman;
    if (const Texts* texts = FindLabel(key))
        return std::string(german ? texts->german : texts->english);
    return german ? "unbekannt" : "unknown";
}

void ClsGUI::SetUILabel(std::string_view key, std::string german, std::string english) {
    if (FindLabel(key)) return;
    const std::string_view k = ownedTexts_.emplace_back(key);
    const std::string_view g = ownedTexts_.emplace_back(std::move(german));
    AddLabel(k, g, ownedTexts_.emplace_back(std::move(english)));
}

bool ClsGUI::HasUILabel(std::string_view key) const {
    return FindLabel(key) != nullptr;
}

}  // namespace kestrova
