#include "pages/parameter/UCParameter.h"

#include <gtest/gtest.h>

#include "pages/common/testing/PageRig.h"

namespace kestrova {
namespace {

using testing::RecordingServices;
using testing::Rig;

struct Panel {
    explicit Panel(const std::string& state = "ONLINE+,TRUE") : rig(state) {
        panel.RefreshContents(&rig.gui);
        panel.SetLanguage();
        panel.ChangeTimer = [this](bool e, int16_t r) { requests.push_back({e, r}); };
    }
    ui::Control& C(const char* name, int index = -1) { return panel(name, index); }
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
    void Write(const char* index, const char* subIndex, const char* data) {
        C("TextWrIndex").UserType(index);
        C("TextWrSubIndex").UserType(subIndex);
        C("TextWr").UserType(data);
        panel.ExecuteReason(UCParameter::kReasonWrite);
    }

    RecordingServices services;
    Rig rig;
    UCParameter panel{services};
    std::vector<std::pair<bool, int16_t>> requests;
};

TEST(UCParameter, ButtonsOnlyAskForTheWork) {
    Panel p;
    p.C("Command1").UserClick();
    p.C("Command2").UserClick();
    p.C("Option1", 1).UserClick();
    EXPECT_EQ(p.requests, (std::vector<std::pair<bool, int16_t>>{{true, 2}, {true, 3}, {true, 1}}));
    EXPECT_TRUE(p.rig.bridge->Sent().empty());
}

TEST(UCParameter, IndexAndSubindexAreChecked) {
    struct Row {
        const char* index;
        const char* subIndex;
        const char* sent;  // null: rejected
    };
    const Row rows[] = {
        {"32767", "255", "IOL::Read Index=32767 SubIndex=255"},
        {"32768", "0", nullptr},
        {"16", "256", nullptr},
        {"0x10", "0x01", "IOL::Read Index=16 SubIndex=1"},
        {"0x7FFF", "0xFF", "IOL::Read Index=32767 SubIndex=255"},
        {"0x8000", "0", nullptr},
        {"", "0", nullptr},
        {"16", "", nullptr},
        {"-1", "0", nullptr},
        {"1 6", "0", nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.index << "/" << row.subIndex);
        Panel p;
        if (row.sent) p.rig.bridge->Answer(row.sent, "OK:1 7");
        p.Read(row.index, row.subIndex);
        if (row.sent) {
            EXPECT_EQ(p.rig.bridge->Sent(), std::vector<std::string>{row.sent});
            EXPECT_EQ(p.Result(), "ok");
        } else {
            EXPECT_TRUE(p.rig.bridge->Sent().empty());
            EXPECT_EQ(p.Result(), "Index or Subindex format error");
        }
    }
}

TEST(UCParameter, ReadShowsDataInTheChosenFormat) {
    struct Row {
        int format;
        const char* shown;
    };
    const Row rows[] = {
        {0, "65 66 1"}, {1, "0x41 0x42 0x01"}, {2, "01000001 01000010 00000001"}, {3, "AB."}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.format);
        Panel p;
        p.rig.bridge->Answer("IOL::Read Index=16 SubIndex=0", "OK:3 65 66 1");
        p.C("Option1", row.format).UserClick();
        p.Read("16", "0");
        EXPECT_EQ(p.C("TextRd").Text(), row.shown);
        EXPECT_EQ(p.Result(), "ok");
    }
}

TEST(UCParameter, ReadOfNoBytesEmptiesTheField) {
    Panel p;
    p.rig.bridge->Answer("IOL::Read Index=16 SubIndex=0", "OK:1 9");
    p.rig.bridge->Answer("IOL::Read Index=17 SubIndex=0", "OK:0");
    p.Read("16", "0");
    p.Read("17", "0");
    EXPECT_EQ(p.C("TextRd").Text(), "");
    EXPECT_EQ(p.Result(), "ok");
}

TEST(UCParameter, DeviceErrorsShowCodeAndCatalogueText) {
    struct Row {
        const char* answer;
        const char* shown;
    };
    const Row rows[] = {
        {"ERROR:32785", "0x8011: Application Index not available"},
        {"ERROR:32803", "0x8023: Application Access denied"},
        {"ERROR:22528", "0x5800: Unknown service primitive"},
        {"ERROR:4096", "0x1000: Negative service response initiated by a communication error"},
        {"ERROR:17", "0x0011: Application Index not available"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.answer);
        Panel p;
        p.rig.bridge->Answer("IOL::Read Index=16 SubIndex=0", "OK:1 9");
        p.Read("16", "0");
        p.rig.bridge->Answer("IOL::Read Index=16 SubIndex=0", row.answer);
        p.Read("16", "0");
        EXPECT_EQ(p.Result(), row.shown);
        EXPECT_EQ(p.C("TextRd").Text(), "9");  // kept from the last good read
    }
}

TEST(UCParameter, ReadWhileTheDeviceIsNotReadySaysSo) {
    Panel p("SIO,TRUE");
    p.Read("16", "0");
    EXPECT_EQ(p.Result(), "Device not ready for parameter access");
    EXPECT_TRUE(p.rig.bridge->Sent().empty());
}

TEST(UCParameter, WriteSendsWhatParsesAndTellsTheOutcome) {
    struct Row {
        int format;
        const char* data;
        const char* sent;  // null: nothing sent
        const char* answer;
        const char* shown;
    };
    const Row rows[] = {
        {0, "1 255", "IOL::Write Index=64 SubIndex=0 Data=01 FF", "OK:", "ok"},
        {1, "0x01 0xFF", "IOL::Write Index=64 SubIndex=0 Data=01 FF", "OK:", "ok"},
        {2, "00000001", "IOL::Write Index=64 SubIndex=0 Data=01", "OK:", "ok"},
        {3, "AB", "IOL::Write Index=64 SubIndex=0 Data=41 42", "OK:", "ok"},
        {1, "0x01", "IOL::Write Index=64 SubIndex=0 Data=01", "ERROR:32816",
         "0x8030: Application Parameter value out of range"},
        {0, "", nullptr, nullptr, "no data for writing entered"},
        {0, "256", nullptr, nullptr, "no data for writing entered"},
        {1, "0x1,", nullptr, nullptr, "no data for writing entered"},
        {3, "", nullptr, nullptr, "no data for writing entered"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.format << " " << row.data);
        Panel p;
        p.C("Option1", row.format).UserClick();
        if (row.sent) p.rig.bridge->Answer(row.sent, row.answer);
        p.Write("64", "0", row.data);
        EXPECT_EQ(p.rig.bridge->Sent(),
                  row.sent ? std::vector<std::string>{row.sent} : std::vector<std::string>{});
        EXPECT_EQ(p.Result(), row.shown);
    }
}

TEST(UCParameter, WriteToABadAddressSendsNothing) {
    Panel p;
    p.Write("40000", "0", "1");
    EXPECT_EQ(p.Result(), "Index or Subindex format error");
    EXPECT_TRUE(p.rig.bridge->Sent().empty());
}

TEST(UCParameter, FormatSwitchKeepsWhatCanBeRead) {
    struct Row {
        int from, to;
        const char* typed;
        const char* shown;
    };
    const Row rows[] = {
        {1, 0, "0x12 0x3", "18 3"},
        {1, 0, "0x12 0x", "18"},  // the half-typed last byte is dropped
        {1, 0, "0x12 0x4", "18 4"},
        {0, 1, "18 300", "0x12 0x1E"},  // 300 is no byte: cut until it reads
        {0, 2, "5", "00000101"},
        {1, 3, "0x41 0x42", "AB"},  // characters are taken from the previous format
        {3, 1, "AB", "0x41 0x42"},
        {3, 0, "12", "12"},     // a text that reads in the new format is taken as is
        {2, 1, "0000000", ""},  // nothing readable: the field stays as typed
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.from << "->" << row.to << " " << row.typed);
        Panel p;
        p.Format(row.from);
        p.C("TextWr").UserType(row.typed);
        p.Format(row.to);
        EXPECT_EQ(p.C("TextWr").Text(), *row.shown ? row.shown : row.typed);
    }
}

TEST(UCParameter, FormatSwitchRedisplaysTheLastGoodRead) {
    Panel p;
    p.rig.bridge->Answer("IOL::Read Index=16 SubIndex=0", "OK:2 72 86");
    p.Format(1);
    p.Read("16", "0");
    EXPECT_EQ(p.C("TextRd").Text(), "0x48 0x56");
    p.Format(3);
    EXPECT_EQ(p.C("TextRd").Text(), "HV");
    // After a failed read the field keeps what it shows.
    p.rig.bridge->Answer("IOL::Read Index=16 SubIndex=0", "ERROR:32785");
    p.Read("16", "0");
    p.Format(0);
    EXPECT_EQ(p.C("TextRd").Text(), "HV");
}

TEST(UCParameter, ABusinessObjectFailureIsShownNotRaised) {
    Panel p;
    p.rig.bridge->Fail("IOL::Read Index=16 SubIndex=0", 462, "The remote server is gone");
    EXPECT_NO_THROW(p.Read("16", "0"));
    EXPECT_EQ(p.Result(), "The remote server is gone");
    p.rig.bridge->Answer("IOL::Read Index=16 SubIndex=0", "Garbage");
    EXPECT_NO_THROW(p.Read("16", "0"));
    EXPECT_NE(p.Result(), "ok");
    p.rig.bridge->Answer("IOL::Read Index=16 SubIndex=0", "OK:1 1");
    p.Read("16", "0");
    EXPECT_EQ(p.Result(), "ok");
}

TEST(UCParameter, ResultTextsShowAmpersandsLiterally) {
    Panel p;
    p.rig.bridge->Fail("IOL::Read Index=16 SubIndex=0", 5, "Read & write failed");
    p.Read("16", "0");
    EXPECT_EQ(p.Result(), "Read && write failed");
}

TEST(UCParameter, EnableLocksEntriesAndButtons) {
    Panel p;
    for (bool enabled : {false, true}) {
        p.panel.Enable(enabled);
        for (const char* box :
             {"TextWr", "TextRdIndex", "TextRdSubIndex", "TextWrIndex", "TextWrSubIndex"})
            EXPECT_EQ(p.C(box).Locked(), !enabled) << box;
        EXPECT_TRUE(p.C("TextRd").Locked());
        EXPECT_EQ(p.C("Command1").Enabled(), enabled);
        EXPECT_EQ(p.C("Command2").Enabled(), enabled);
        for (int i = 0; i < 4; ++i) EXPECT_EQ(p.C("Option1", i).Enabled(), enabled);
    }
}

}  // namespace
}  // namespace kestrova
