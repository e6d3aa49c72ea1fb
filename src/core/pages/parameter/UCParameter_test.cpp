#include "pages/parameter/UCParameter.h"

#include <gtest/gtest.h>

#include <ctime>

#include "pages/common/testing/PageRig.h"

namespace kestrova {
namespace {

struct ParamRig : testing::PanelRig<UCParameter> {
    const std::string& Result() { return C("LabelError").Caption(); }
    // Chooses a format and carries out what the container would on its next tick.
    void Format(int index) {
        C("Option1", index).UserClick();
        panel.ExecuteReason(UCParameter::kReasonFormat);
    }
    void Read(const char* index, const char* subIndex) {
        C("TextRdIndex").UserType(index);
        C("TextRdSubIndex").UserType(subIndex);
        panel.ExecuteReason(UCParameter::kReasonRead);
    }
};

TEST(UCParameter, EnterInTheMultiLineEntryBreaksNoLineAndSendsNothing) {
    ParamRig p;
    auto& entry = p.C("TextWr");
    ASSERT_TRUE(entry.MultiLine());
    ASSERT_TRUE(entry.KeyPress);
    // The renderers let the box edit every key the handler leaves alone, and drop a key set to 0.
    struct Row {
        int16_t key, after;
    };
    const Row rows[] = {{13, 0}, {10, 0}, {'1', '1'}, {' ', ' '}, {8, 8}, {9, 9}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.key);
        int16_t key = row.key;
        entry.KeyPress(key);
        EXPECT_EQ(key, row.after);
    }
    entry.UserType("1 2");
    entry.UserKey(13);
    EXPECT_EQ(entry.Text(), "1 2");
    EXPECT_TRUE(p.bridge->Sent().empty());
}

TEST(UCParameter, IndexAndSubindexAreChecked) {
    // The command sent, or null when the entries are rejected.
    struct Row {
        const char *index, *subIndex, *sent;
    };
    const Row rows[] = {{"32767", "255", "IOL::Read Index=32767 SubIndex=255"},
                        {"0x7FFF", "0xFF", "IOL::Read Index=32767 SubIndex=255"},
                        {"0x8000", "0", nullptr},
                        {"", "0", nullptr},
                        {"16", "", nullptr},
                        {"-1", "0", nullptr},
                        {"1 6", "0", nullptr}};
    for (const Row& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.index << "/" << row.subIndex);
        ParamRig p;
        if (row.sent) p.bridge->Answer(row.sent, "OK:1 7");
        p.Read(row.index, row.subIndex);
        EXPECT_EQ(p.bridge->Sent().size(), row.sent ? 1u : 0u);
        EXPECT_EQ(p.Result(), row.sent ? "ok" : "Index or Subindex format error");
    }
}

TEST(UCParameter, ReadOutcomesShowTheResultAndKeepTheLastGoodData) {
    // The second read's answer ("!text": the business object raises, "@word": the state
    // changes first), the result shown and TextRd after it and after a format change.
    struct Row {
        const char *answer, *result, *data;
    };
    const Row rows[] = {{"OK:0", "ok", ""},
                        {"ERROR:17", "0x0011: Application Index not available", "9"},
                        {"ERROR:98339", "0x18023: Application Access denied", "9"},
                        {"!Read & write failed", "Read && write failed", "9"},
                        {"@SIO,TRUE", "Device not ready for parameter access", "9"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.answer);
        ParamRig p;
        p.bridge->Answer(testing::kRead16, "OK:1 9");
        p.Read("16", "0");
        if (row.answer[0] == '!')
            p.bridge->Fail(testing::kRead16, 5, row.answer + 1);
        else if (row.answer[0] == '@')
            p.SetState(row.answer + 1);
        else
            p.bridge->Answer(testing::kRead16, row.answer);
        EXPECT_NO_THROW(p.Read("16", "0"));
        EXPECT_EQ(p.Result(), row.result);
        EXPECT_EQ(p.C("TextRd").Text(), row.data);
        p.Format(1);  // only data of a good read are shown again
        EXPECT_EQ(p.C("TextRd").Text(), row.data);
    }
}

TEST(UCParameter, WriteSendsWhatParsesAndTellsTheOutcome) {
    // The data sent to index 64 (null: nothing sent) and the result shown.
    struct Row {
        int format;
        const char *index, *data, *sent, *shown;
    };
    const char* const noData = "no data for writing entered";
    const Row rows[] = {{1, "64", "0x01 0xFF", "01 FF", "ok"},
                        {3, "64", "AB", "41 42", "ok"},
                        {1, "64", "0x1,", nullptr, noData},
                        {3, "64", "", nullptr, noData},
                        {0, "40000", "1", nullptr, "Index or Subindex format error"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.format << " " << row.data);
        ParamRig p;
        const std::string sent =
            std::string("IOL::Write Index=64 SubIndex=0 Data=") + (row.sent ? row.sent : "");
        p.bridge->Answer(sent, "OK:");
        p.C("Option1", row.format).UserClick();
        p.C("TextWrIndex").UserType(row.index);
        p.C("TextWrSubIndex").UserType("0");
        p.C("TextWr").UserType(row.data);
        p.panel.ExecuteReason(UCParameter::kReasonWrite);
        EXPECT_EQ(p.bridge->Sent(),
                  row.sent ? std::vector<std::string>{sent} : std::vector<std::string>{});
        EXPECT_EQ(p.Result(), row.shown);
    }
}

TEST(UCParameter, FormatSwitchKeepsWhatCanBeRead) {
    // What the entry shows after the switch; empty: it stays as typed.
    struct Row {
        int from, to;
        const char *typed, *shown;
    };
    const Row rows[] = {
        {1, 0, "0x12 0x3", "18 3"},
        {0, 1, "18 300", "0x12 0x1E"},  // 300 is no byte: cut until it reads
        {1, 3, "0x41 0x42", "AB"},      // characters are taken from the previous format
        {3, 1, "AB", "0x41 0x42"},
        {3, 0, "12", "12"},     // a text that reads in the new format is taken as is
        {2, 1, "0000000", ""},  // nothing readable
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.from << "->" << row.to << " " << row.typed);
        ParamRig p;
        p.Format(row.from);
        p.C("TextWr").UserType(row.typed);
        p.Format(row.to);
        EXPECT_EQ(p.C("TextWr").Text(), *row.shown ? row.shown : row.typed);
    }
}

TEST(UCParameter, LongEntriesSwitchFormatAtOnce) {
    // Megabyte entries: what still reads is cut at the 250-byte limit, without scanning the
    // entry once per character dropped (that froze the page for minutes).
    const auto repeat = [](const char* field, int n) {
        std::string s;
        for (int i = 0; i < n; ++i) s += (i ? " " : "") + std::string(field);
        return s;
    };
    const struct {
        std::string typed;
        int from, to;
        std::string shown;
    } rows[] = {{repeat("7", 500'000), 0, 1, repeat("0x07", 250)},
                {std::string(1 << 20, '7'), 0, 1, "0x4D"},
                {std::string(1 << 20, 'a'), 3, 0, repeat("97", 250)}};
    const std::clock_t start = std::clock();  // CPU time: a busy machine does not count
    for (const auto& row : rows) {
        ParamRig p;
        p.Format(row.from);
        p.C("TextWr").UserType(row.typed);
        p.Format(row.to);
        EXPECT_EQ(p.C("TextWr").Text(), row.shown);
    }
    EXPECT_LT(std::clock() - start, 10 * CLOCKS_PER_SEC);
}

}  // namespace
}  // namespace kestrova
