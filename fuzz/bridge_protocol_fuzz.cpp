// The bridge protocol's reader on arbitrary lines: answers, requests, values and the USB
// inventory. An answer or inventory that parses must encode to text that parses and encodes the
// same again, and an escaped text must unescape to itself.
#include <cstdint>
#include <string>
#include <string_view>

#include "FuzzBridge.h"
#include "link/BridgeProtocol.h"

using namespace kestrova;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::string problem;
    if (auto records = bridge::ParseInventory(text, problem)) {
        const auto again = bridge::ParseInventory(bridge::EncodeInventory(*records), problem);
        if (!again || again->size() != records->size())
            fuzz::Fail("inventory does not survive encoding: " + problem);
    }
    for (const std::string& line : fuzz::Lines(data, size)) {
        if (auto answer = bridge::ParseAnswer(line, problem)) {
            const std::string encoded = bridge::EncodeAnswer(*answer);
            const auto again = bridge::ParseAnswer(encoded, problem);
            // Compared encoded: a NaN answer is not equal to itself.
            if (!again || bridge::EncodeAnswer(*again) != encoded)
                fuzz::Fail("answer \"" + line + "\" encodes to \"" + encoded + "\": " + problem);
        }
        // A request's last field may carry an encoded value, which its operation decodes: only
        // parsed here, not compared after encoding.
        bridge::ParseRequest(line, problem);
        bridge::ParseValue(line, problem);
        std::string plain;
        if (bridge::Unescape(line, plain)) {
            std::string back;
            if (!bridge::Unescape(bridge::Escape(plain), back) || back != plain)
                fuzz::Fail("escaping \"" + line + "\" does not round-trip");
        }
    }
    return 0;
}
