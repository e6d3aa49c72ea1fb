#include "link/BridgeProtocol.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace kestrova::bridge {
namespace {

Answer Value(Variant v) {
    return Answer{std::move(v), false, 0, {}};
}

TEST(BridgeProtocolTest, AnswerLinesParseToTheirTypedValue) {
    const std::tuple<const char*, Answer> cases[] = {
        {"text OK:22 84 97", Value("OK:22 84 97")},
        {"text ", Value("")},
        {"text", Value("")},
        {"text  two blanks ", Value(" two blanks ")},
        {"text a\\tb\\\\c\\x01\\n", Value(std::string("a\tb\\c\x01\n"))},
        {"text Größe", Value("Größe")},
        {"int 1031", Value(int64_t{1031})},
        {"int -9223372036854775808", Value(INT64_MIN)},
        {"real 2.5", Value(2.5)},
        {"bool true", Value(true)},
        {"bool False", Value(false)},
        {"empty", Value({})},
        {"empty\r", Value({})},
        {"null", Value(Variant::MakeNull())},
        {"error 5 Unknown item: X", Answer{{}, true, 5, "Unknown item: X"}},
        {"error -2147467259 ", Answer{{}, true, -2147467259, ""}},
        {"error 91", Answer{{}, true, 91, ""}},
    };
    for (const auto& [line, want] : cases) {
        std::string problem;
        const std::optional<Answer> got = ParseAnswer(line, problem);
        ASSERT_TRUE(got) << line << ": " << problem;
        EXPECT_EQ(*got, want) << line;
    }
}

TEST(BridgeProtocolTest, BrokenAnswersAreRefusedWithAReason) {
    const std::tuple<std::string, const char*> cases[] = {
        {"", "not an answer"},
        {"TRUE", "not an answer"},
        {"Text hello", "not an answer"},
        {"int", "whole number"},
        {"int 12x", "whole number"},
        {"int 9223372036854775808", "whole number"},
        {"int  5", "whole number"},
        {"real nan", "finite"},
        {"real 1e999", "finite"},
        {"bool yes", "true or false"},
        {"empty x", "nothing after"},
        {"null ", "nothing after"},
        {"error", "number first"},
        {"error x oops", "number first"},
        {"error 4294967296 too big", "number first"},
        {"text a\\qb", "escape"},
        {"text trailing\\", "escape"},
        {"text \\x4", "escape"},
        {"text raw\ttab", "control character"},
        {std::string("text nul\0inside", 15), "control character"},
    };
    for (const auto& [line, reason] : cases) {
        std::string problem;
        EXPECT_FALSE(ParseAnswer(line, problem)) << line;
        EXPECT_NE(problem.find(reason), std::string::npos) << line << ": " << problem;
    }
}

TEST(BridgeProtocolTest, EveryValueSurvivesTheRoundTrip) {
    std::string allBytes;
    for (int c = 1; c < 256; ++c) allBytes += static_cast<char>(c);
    const Variant values[] = {Variant(),         Variant::MakeNull(), Variant(true),
                              Variant(false),    Variant(INT64_MAX),  Variant(-1.25e-7),
                              Variant(allBytes), Variant(" \\n "),    Variant("")};
    for (const Variant& v : values) {
        const std::string line = EncodeValue(v);
        EXPECT_EQ(line.find_first_of("\r\n"), std::string::npos) << line;
        std::string problem;
        const std::optional<Answer> back = ParseAnswer(line, problem);
        ASSERT_TRUE(back) << line << ": " << problem;
        EXPECT_EQ(back->Value, v) << line;
    }
    std::string problem;
    const Answer failure{{}, true, -7, "line\nbreak"};
    EXPECT_EQ(ParseAnswer(EncodeAnswer(failure), problem), failure);
}

TEST(BridgeProtocolTest, RequestsKeepTheirFieldsApart) {
    // Blanks inside a field before the last are escaped; the last field keeps them.
    const std::tuple<const char*, std::vector<std::string>, const char*> cases[] = {
        {op::SendCommand,
         {"IOL::Read Index=16 SubIndex=0"},
         "SendCommand IOL::Read Index=16 SubIndex=0"},
        {op::RegisterGui, {"Kestrova.DTMGUI", "invoke 1"}, "RegisterGui Kestrova.DTMGUI invoke 1"},
        {op::RegisterGui, {"a b", "c"}, "RegisterGui a\\x20b c"},
        {op::CloseGui, {""}, "CloseGui "},
        {op::NotifyGuiReleased, {}, "NotifyGuiReleased"},
        {op::Control, {"plug 7c32 COM4"}, "Control plug 7c32 COM4"},
    };
    for (const auto& [operation, fields, line] : cases) {
        EXPECT_EQ(EncodeRequest(operation, fields), line);
        std::string problem;
        const std::optional<Request> back = ParseRequest(line, problem);
        ASSERT_TRUE(back) << line << ": " << problem;
        EXPECT_EQ(back->Operation, operation);
        EXPECT_EQ(back->Fields, fields) << line;
    }
}

TEST(BridgeProtocolTest, SetItemCarriesATypedValue) {
    std::string problem;
    const std::string line = EncodeRequest(op::SetItem, {"LOGGER", EncodeValue(Variant("a b"))});
    const std::optional<Request> request = ParseRequest(line, problem);
    ASSERT_TRUE(request) << problem;
    ASSERT_EQ(request->Fields.size(), 2u);
    EXPECT_EQ(request->Fields[0], "LOGGER");
    EXPECT_EQ(ParseValue(request->Fields[1], problem), Variant("a b"));

    const std::tuple<const char*, const char*> bad[] = {
        {"SetItem LOGGER", "needs 2 fields"},       {"SetItem LOGGER error 5 no", "not an answer"},
        {"SetItem Language int x", "whole number"}, {"NotifyGuiReleased now", "takes no fields"},
        {"sendcommand x", "unknown operation"},     {"SendCommand \x01", "control character"},
    };
    for (const auto& [text, reason] : bad) {
        EXPECT_FALSE(ParseRequest(text, problem)) << text;
        EXPECT_NE(problem.find(reason), std::string::npos) << text << ": " << problem;
    }
}

TEST(BridgeProtocolTest, InventoryIsARecordPerLine) {
    const std::vector<ui::InventoryRecord> records = {
        {"USB\\VID_0403&PID_7C31\\KV000001", "IO-Link USB Master (COM3)"},
        {"ACPI\\PNP0501\\0", "Communications\tPort (COM2)"},
    };
    std::string problem;
    const auto back = ParseInventory(EncodeInventory(records), problem);
    ASSERT_TRUE(back) << problem;
    ASSERT_EQ(back->size(), 2u);
    EXPECT_EQ((*back)[0].DeviceID, records[0].DeviceID);
    EXPECT_EQ((*back)[1].Name, "Communications Port (COM2)");
    EXPECT_TRUE(ParseInventory("", problem)->empty());
    EXPECT_FALSE(ParseInventory("A\tB\nno tab here\n", problem));
    EXPECT_NE(problem.find("record 2"), std::string::npos) << problem;
}

}  // namespace
}  // namespace kestrova::bridge
