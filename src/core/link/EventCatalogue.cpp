#include "link/EventCatalogue.h"

#include <array>

#include "link/ClsGUI.h"
#include "tools/NumberFormats.h"
#include "tools/Vb.h"

namespace kestrova {

namespace {

// Event label keys in registration order: key, English, German. The texts are the product's
// own wording, oddities included ("occured", the acute accent in "doesn´t", the trailing blank
// of EVNT_FFF0, the placeholders S1 = L1 ...); they are not to be corrected.
constexpr LabelText kEventLabels[] = {
    {"M_PDU_CHECK", "Calculated PDU checksum in master does not match actual received SPDU",
     "Prüfsumme bei SPDU war falsch"},
    {"A_MESSAGE", "Device Message", "Mitteilung vom Device"},
    {"A_WARNING", "Device Warning", "Warnung vom Device"},
    {"A_DEVICE", "Device Error", "Fehler im Device"},
    {"A_PARAMETER", "Parameter Error", "Parameterfehler"},
    {"S_DEVICELOST_GOING", "Connection established", "Verbindung wurde aufgebaut"},
    {"S_DEVICELOST_COMING", "Device has been lost", "Device wurde abgezogen"},
    {"S_WRONGSENSOR", "Min cycle time doesn´t fit", "minimale Zykluszeit passt nicht"},
    {"S_RETRY", "Communication retries occured", "Telegrammwiederholungen aufgetreten"},
    {"P_SHORT", "Short circuit on IO-Link port", "Kurzschluss am IO-Link Port"},
    {"P_SENSOR", "Loss of main power supply", "zu niedrige Stromversorgung"},
    {"P_ACTOR", "Loss of actor power supply", "zu niedrige Aktor-Versorgung"},
    {"P_POWER", "Loss of device power supply", "zu niedrige Versorgung des IO-Link Ports"},
    {"P_RESET", "Reset was successful", "Reset wurde durchgeführt"},
    {"S_FALLBACK", "Fallback was successful", "Fallback war erfolgreich"},
    {"EVNT_1000", "general malfunction", "Genereller Fehler"},
    {"EVNT_1800", "general malfunction (man. spec.)", "Genereller Fehler (herst. spez.)"},
    {"EVNT_4000", "temperature", "Temperatur"},
    {"EVNT_4100", "ambient temperature", "Umgebungstemperatur"},
    {"EVNT_4110", "excess ambient temperature", "Umgebungstemperatur zu hoch"},
    {"EVNT_4120", "too low ambient temperature", "Umgebungstemperatur zu niedrig"},
    {"EVNT_4200", "temperature device", "Gerätetemperatur"},
    {"EVNT_4210", "excess temperature device", "Gerätetemperatur zu hoch"},
    {"EVNT_4220", "too low temperature device", "Gerätetemperatur zu niedrig"},
    {"EVNT_4300", "temperature periphery", "Peripherie-Temperatur"},
    {"EVNT_4310", "excess temperature periphery", "Peripherie-Temperatur zu hoch"},
    {"EVNT_4320", "too low temperature periphery", "Peripherie-Temperatur zu niedrig"},
    {"EVNT_5000", "device hardware", "Geräte Hardware"},
    {"EVNT_5010", "component malfunction", "Fehler in Komponente"},
    {"EVNT_5100", "supply", "Versorgung"},
    {"EVNT_5110", "supply low voltage", "Versorgung niedrige Spannung"},
    {"EVNT_5111", "U1 = supply +/- 15 V", "U1 = Versorgung +/- 15 V"},
    {"EVNT_5112", "U2 = supply +/- 24 V", "U2 = Versorgung +/- 24 V"},
    {"EVNT_5113", "U3 = supply +/- 5 V", "U3 = Versorgung +/- 5 V"},
    {"EVNT_5114", "U4 = manufacture spec.", "U4 = herst. spez."},
    {"EVNT_5115", "U5 = manufacture spec.", "U5 = herst. spez."},
    {"EVNT_5116", "U6 = manufacture spec.", "U6 = herst. spez."},
    {"EVNT_5117", "U7 = manufacture spec.", "U7 = herst. spez."},
    {"EVNT_5118", "U8 = manufacture spec.", "U8 = herst. spez."},
    {"EVNT_5119", "U9 = manufacture spec.", "U9 = herst. spez."},
    {"EVNT_5151", "short circuit", "Kurzschluss"},
    {"EVNT_5160", "supply periphery", "Versorgung der Peripherie"},
    {"EVNT_5200", "control", "Steuerung"},
    {"EVNT_5300", "operating unit", "Bedienteil"},
    {"EVNT_5400", "power section", "Leistungsteil"},
    {"EVNT_5410", "output stages", "Ausgangsstufen"},
    {"EVNT_5450", "fuses", "Sicherungen"},
    {"EVNT_5451", "S1 = L1", "S1 = L1"},
    {"EVNT_5452", "S2 = L2", "S2 = L2"},
    {"EVNT_5453", "S3 = L3", "S3 = L3"},
    {"EVNT_5454", "S4 manufacture spec.", "S4 herst. spez."},
    {"EVNT_5455", "S5 manufacture spec.", "S5 herst. spez."},
    {"EVNT_5456", "S6 manufacture spec.", "S6 herst. spez."},
    {"EVNT_5457", "S7 manufacture spec.", "S7 herst. spez."},
    {"EVNT_5458", "S8 manufacture spec.", "S8 herst. spez."},
    {"EVNT_5459", "S9 manufacture spec.", "S9 herst. spez."},
    {"EVNT_5500", "additional communication", "zusätzliche Kommunikation"},
    {"EVNT_5510", "communication interface no. 1", "Kommunikations-Schnittstelle 1"},
    {"EVNT_5520", "communication interface no. 2", "Kommunikations-Schnittstelle 2"},
    {"EVNT_6000", "device software", "Gerätesoftware"},
    {"EVNT_6010", "software reset (watchdog)", "Software Reset durch watchdog"},
    {"EVNT_6100", "internal software", "Interne Software"},
    {"EVNT_6300", "data record", "Datenerfassung"},
    {"EVNT_6310", "loss of parameter", "Parameterverlust"},
    {"EVNT_6320", "parameter error", "Parameterfehler"},
    {"EVNT_6330", "parameter not initialized", "Parameter nicht initialisiert"},
    {"EVNT_6340", "parameter not specific", "Parameter ungenau"},
    {"EVNT_6350", "parameter changed", "Parameteränderung"},
    {"EVNT_8000", "monitoring", "Überwachung"},
    {"EVNT_8100", "communication", "Kommunikation"},
    {"EVNT_8110", "process data monitoring", "Prozessdatenüberwachung"},
    {"EVNT_8C00", "application", "Applikation"},
    {"EVNT_8C10", "excess process variable range", "Überschreitung des Prozessdatenbereichs"},
    {"EVNT_8C20", "excess measurement range", "Messbereichs-Überschreitung"},
    {"EVNT_8C30", "too low process variable range", "Unterschreitung des Prozessdatenbereichs"},
    {"EVNT_8C40", "advance warning", "Vorwarnung"},
    {"EVNT_8CA0", "manufacturer specific", "herstellerspezifisch"},
    {"EVNT_8D00", "user defined (customer specific mapping of events)", "Benutzerdefiniert"},
    {"EVNT_9000", "external malfunction", "externer Fehler"},
    {"EVNT_FF00", "IO-Link specific event codes (see Table 86)", "IO-Link-spezifische Event Codes"},
    {"EVNT_FFF0", "PD invalid event from device ", "Prozessdaten ungültig"},
    {"EVNT_FF91", "Parameter have to be stored", "Parameter müssen gesichert werden"},
    {"EVNT_FF92", "Parameters shall be restored", "Parameter sollen neu übertragen werden"},
    {"EVNT_FF98", "Restart communication", "Neustart der Kommunikation"},
};

// Kind 1 codes of the master's own events.
struct KeyOfCode {
    uint16_t Code;
    const char* Key;
};
constexpr KeyOfCode kMasterEvents[] = {
    {2, "M_PDU_CHECK"},  {12, "A_MESSAGE"},     {13, "A_WARNING"}, {14, "A_DEVICE"},
    {15, "A_PARAMETER"}, {26, "S_WRONGSENSOR"}, {27, "S_RETRY"},   {30, "P_SHORT"},
    {31, "P_SENSOR"},    {32, "P_ACTOR"},       {33, "P_POWER"},   {34, "P_RESET"},
    {35, "S_FALLBACK"},
};

struct TextOfNumber {
    uint16_t Number;
    const char* Text;
};
// ISDU and communication errors matched on the whole number.
constexpr TextOfNumber kIsduErrors[] = {
    {0x5200, "Device buffer too small for complete PDU"},
    {0x5600, "checksum error in SPDU or sequence error"},
    {0x5700, "Unknown service primitive or wrong response"},
    {0x5800, "Unknown service primitive"},
    {0x1000, "Negative service response initiated by a communication error"},
};
// Application errors, matched on the low byte. "Application Application" is the product's own
// wording.
constexpr TextOfNumber kApplicationErrors[] = {
    {0x00, "Application No details"},
    {0x11, "Application Index not available"},
    {0x12, "Application Subindex not available"},
    {0x20, "Application Service temporarily not available"},
    {0x21, "Application Service temporarily not available, local control"},
    {0x22, "Application Service temporarily not available, device control"},
    {0x23, "Application Access denied"},
    {0x30, "Application Parameter value out of range"},
    {0x31, "Application Parameter value above limit"},
    {0x32, "Application Parameter value below limit"},
    {0x40, "Application Interfering parameter"},
    {0x81, "Application Application failure"},
    {0x82, "Application Application not ready"},
};

// Codes are 16-bit values: 0x8CA0 arrives as 36000 or as -29536 and means the same. Values
// that do not fit 16 bits match no row.
bool As16(int32_t value, uint16_t& code) {
    if (value < -32768 || value > 65535) return false;
    code = static_cast<uint16_t>(value);
    return true;
}

std::string Hex4(int64_t v) {
    return FormatHex(v, 4, "", true);
}
std::string Bracketed(uint16_t code) {
    return " (0x" + Hex4(code) + ")";
}

std::string EventText(int32_t value, int32_t third, const ClsGUI& gui) {
    uint16_t code = 0;
    if (!As16(value, code)) return gui.GetUILabel("EVNT_" + Hex4(value));
    if (code == 16)
        return gui.GetUILabel(third == 0 ? "S_DEVICELOST_COMING" : "S_DEVICELOST_GOING");
    for (const KeyOfCode& row : kMasterEvents)
        if (row.Code == code) return gui.GetUILabel(row.Key);
    if (code >= 0x1800 && code <= 0x1FFF) return gui.GetUILabel("EVNT_1800") + Bracketed(code);
    if (code >= 0x8CA0 && code <= 0x8CFF) return gui.GetUILabel("EVNT_8CA0") + Bracketed(code);
    if (code >= 0x8D00 && code <= 0x8DFF) return gui.GetUILabel("EVNT_8D00") + Bracketed(code);
    const std::string key = "EVNT_" + Hex4(code);
    if (code >= 0xFF00 && !gui.HasUILabel(key))
        return gui.GetUILabel("EVNT_FF00") + Bracketed(code);
    return gui.GetUILabel(key);
}

std::string InstanceText(int32_t value) {
    switch (value) {
        case 1:
            return "PHL";
        case 2:
            return "DL";
        case 3:
            return "AL";
        case 4:
            return "APPL";
        default:
            return "UNKNOWN";
    }
}

// Type and mode parts as they sit in the qualifier byte; instance bits are ignored.
std::string TypeModeText(int32_t value) {
    std::string text;
    switch (value & 0x30) {
        case 48:
            text = "ERR";
            break;
        case 32:
            text = "WARN";
            break;
        case 16:
            text = "MSG";
            break;
        default:
            text = "unknown";
            break;
    }
    switch (value & 0xC0) {
        case 64:
            text += "-SINGLE";
            break;
        case 128:
            text += "-GOING";
            break;
        case 192:
            text += "-COMING";
            break;
        default:
            break;
    }
    return text;
}

std::string ErrorNumberText(int32_t value) {
    uint16_t number = 0;
    const bool is16 = As16(value, number);
    if (is16)
        for (const TextOfNumber& row : kIsduErrors)
            if (row.Number == number) return row.Text;
    // Application errors by their low byte, whatever the rest of the number holds.
    for (const TextOfNumber& row : kApplicationErrors)
        if (row.Number == (value & 0xFF)) return row.Text;
    return "0x" + Hex4(is16 ? number : value) + ":unknown";
}

}  // namespace

std::span<const LabelText> EventLabelTable() {
    return kEventLabels;
}

void IolInitEventTable(ClsGUI& gui) {
    gui.SetUILabels(kEventLabels);
}

std::string IolErrorText(int kind, int32_t value, int32_t third, const ClsGUI& gui) {
    switch (kind) {
        case 1:
            return EventText(value, third, gui);
        case 2:
            return InstanceText(value);
        case 3:
            return TypeModeText(value);
        case 4:
        case 5:
        case 6:
            return ErrorNumberText(value);
        default:
            return "unknown";
    }
}

}  // namespace kestrova
