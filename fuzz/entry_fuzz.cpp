// The number formats and entry parsers on arbitrary text: ParseBytes in every form, width and
// pair flag (and its result formatted back), GetToken/GetNumber with any separator, the
// cycle-time check and codes, and the index parser.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>

#include "FuzzBridge.h"
#include "tools/NumberFormats.h"

using namespace kestrova;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    const int form = in.ConsumeIntegralInRange(0, 4);  // 4: not a form
    const int width = in.ConsumeIntegralInRange(-1, 4);
    const bool pair = in.ConsumeBool();
    const int32_t max = in.ConsumeIntegralInRange<int32_t>(-1, 70000);
    const double upper = in.ConsumeFloatingPoint<double>();
    const std::string sep = in.ConsumeRandomLengthString(4);
    const std::string text = in.ConsumeRemainingBytesAsString();

    fuzz::Check("ParseBytes", [&] {
        Values out;
        int16_t count = 0;
        const int status = ParseBytes(text, form, width, out, count, pair);
        if (status < kParseOk || status > kParseMismatch) fuzz::Fail("ParseBytes status");
        if (count < 0 || static_cast<size_t>(count) > out.size() + 1)
            fuzz::Fail("ParseBytes count " + std::to_string(count));
        int16_t all = -1;
        for (int f = kDecimal; f <= kCharacters; ++f) FormatBytes(out, f, all, "0x", pair);
    });
    fuzz::Check("GetToken", [&] {
        std::string rest = text;
        for (int n = 0; n < 64 && !rest.empty(); ++n) GetToken(rest, true, sep);
    });
    fuzz::Check("GetNumber", [&] {
        std::string rest = text;
        for (int n = 0; n < 64 && !rest.empty(); ++n) GetNumber(rest, true, pair, sep);
    });
    fuzz::Check("CheckNumber", [&] {
        double value = 0;
        if (CheckNumber(text, upper, &value)) EncodeCycleTime(value);
        DecodeCycleTime(max);
    });
    fuzz::Check("ParseIndex", [&] {
        int32_t value = -1;
        if (ParseIndex(text, max, value) && (value < 0 || value > max))
            fuzz::Fail("ParseIndex accepted " + std::to_string(value) + " above " +
                       std::to_string(max));
    });
    return 0;
}
