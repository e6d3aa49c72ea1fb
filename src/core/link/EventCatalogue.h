// The vocabulary of events and command errors: label keys with English and German texts, and
// the function that turns codes, qualifier parts and ISDU error numbers into texts.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace kestrova {

class ClsGUI;
struct LabelText;

// The event label table in registration order (key, English, German).
std::span<const LabelText> EventLabelTable();

// Registers every event label key in table order with its German and English text.
void IolInitEventTable(ClsGUI& gui);
// Kind 1 event code (third = the "going" discriminator for code 16), 2 instance word, 3 type and
// mode word, 4..6 ISDU/communication error number; any other kind gives "unknown".
std::string IolErrorText(int kind, int32_t value, int32_t third, const ClsGUI& gui);

}  // namespace kestrova
