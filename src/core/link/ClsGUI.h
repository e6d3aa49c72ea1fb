// The binding to the DTM business object: items, logging, language, label texts and the
// connection state. One instance per control, handed to every page.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "device/ClsDevice.h"
#include "link/IGuiBridge.h"

namespace kestrova {

// Language codes (primary language numbers of Windows locale identifiers).
inline constexpr int16_t kGerman = 7;
inline constexpr int16_t kEnglish = 9;

// One row of a page's label table: key, English text, German text. The texts are literals: the
// binding keeps views of them rather than copies.
struct LabelText {
    const char* Key;
    const char* English;
    const char* German;
};

class ClsGUI {
  public:
    ClsGUI() = default;
    ClsGUI(const ClsGUI&) = delete;  // the labels point into the texts it owns
    ClsGUI& operator=(const ClsGUI&) = delete;

    int16_t FunctionId = 0;
    std::string ActualDeviceIdentifier;
    std::shared_ptr<IGuiBridge> Dtm;
    int16_t ConnectionStateCode = 0;
    bool DtmConnected = false;
    int16_t Language = 0;
    bool ConnectPending = false;
    ClsDevice Device;
    std::string ProductId;

    std::string ProtocolID() const;
    void SetDtm(std::shared_ptr<IGuiBridge> dtm);
    void SetActualDeviceIdentifier(const std::string& identifier);
    void CheckOnlineState();
    std::string GetItem(const std::string& name);
    void LogEvent(const std::string& message);
    int16_t GetLanguage();
    std::string GetUILabel(std::string_view key) const;
    void SetUILabel(std::string_view key, std::string german, std::string english);
    // Whether either store holds the key (the catalogue's fallback for unknown FFxx codes).
    bool HasUILabel(std::string_view key) const;
    // Registers every row of a label table (first registration of a key wins).
    template <class Table>
    void SetUILabels(const Table& table) {
        for (const LabelText& row : table) AddLabel(row.Key, row.German, row.English);
    }

  private:
    struct Texts {
        std::string_view german, english;
    };
    // Keys compare ignoring the case of ASCII letters.
    struct KeyHash {
        size_t operator()(std::string_view key) const;
    };
    struct KeyEqual {
        bool operator()(std::string_view a, std::string_view b) const;
    };
    // Registers views of a key and texts that outlive the binding; false when the key was there
    // already.
    bool AddLabel(std::string_view key, std::string_view german, std::string_view english);
    const Texts* FindLabel(std::string_view key) const;

    std::unordered_map<std::string_view, Texts, KeyHash, KeyEqual> labels_;
    std::deque<std::string> ownedTexts_;  // keys and texts registered at run time
};

}  // namespace kestrova
