// What the three expert pages share: the layout fits the page frame, they poll only while shown
// and bound, the communication panel pauses and hurries the polling, a failing business object
// stops nothing, mode changes need the master's connection, and the frame hears what they found.
#include <gtest/gtest.h>

#include <type_traits>

#include "pages/common/testing/PageRig.h"
#include "pages/deviceinfo/UCDeviceInfo.h"
#include "pages/iolinkdata/IOLinkData.h"
#include "pages/iolinkparam/IOLinkParam.h"

namespace kestrova {
namespace {

// Every control lies inside the control that holds it.
void ExpectInside(ui::Control& holder) {
    for (const auto& c : holder.Children()) {
        if (c->GetKind() == ui::Kind::Timer) continue;
        EXPECT_TRUE(c->Left() >= 0 && c->Top() >= 0 && c->Left() + c->Width() <= holder.Width() &&
                    c->Top() + c->Height() <= holder.Height())
            << holder.Name() << "." << c->Name() << "(" << c->Index() << ")";
        if (c->GetKind() == ui::Kind::UserControl) ExpectInside(*c);
    }
}

template <class Page>
class ExpertPage : public ::testing::Test {};
using Pages = ::testing::Types<UCDeviceInfo, IOLinkData, IOLinkParam>;
TYPED_TEST_SUITE(ExpertPage, Pages);

TYPED_TEST(ExpertPage, FitsThePageFrame) {
    testing::RecordingServices services;
    TypeParam page(services);
    EXPECT_TRUE(page.Width() <= Page::kWidth && page.Height() <= Page::kHeight);
    ExpectInside(page);
    // The page's own panel may not squeeze the event list: a heading and four rows at least.
    if (const ui::Control* list = page.Resolve("UCEventData1.ListView1")) {
        EXPECT_GE(list->Height(), 1200);
    }
}

// A larger window gives the event list the room and a smaller one takes it from the list (never
// below its buttons); every other control keeps its place, and the design size brings the
// design-time layout back.
TEST(PollingPages, OnlyTheEventListGrowsWithThePage) {
    testing::RecordingServices services;
    IOLinkParam page(services);
    struct Box {
        int32_t left, top, width, height;
        bool operator==(const Box&) const = default;
    };
    auto box = [&](const char* path) {
        const ui::Control& c = *page.Resolve(path);
        return Box{c.Left(), c.Top(), c.Width(), c.Height()};
    };
    const char* const fixed[] = {"UCParameter1", "IOLinkCommunication1", "Label1",
                                 "UCEventData1.Command1"};
    std::vector<Box> before;
    for (const char* path : fixed) before.push_back(box(path));
    const Box list = box("UCEventData1.ListView1");

    page.Move(0, 0, page.Width() + 3000, page.Height() + 2000);
    EXPECT_EQ(box("UCEventData1.ListView1"),
              (Box{list.left, list.top, list.width + 3000, list.height + 2000}));
    EXPECT_EQ(box("UCEventData1.Command2").left, before[3].left + 3000);
    EXPECT_EQ(box("UCEventData1.Command2").top, 750);
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(box(fixed[i]), before[i]) << fixed[i];
    ExpectInside(page);

    page.Move(0, 0, Page::kWidth, Page::kHeight - 300);
    EXPECT_EQ(box("UCEventData1.ListView1"),
              (Box{list.left, list.top, list.width, list.height - 300}));
    ExpectInside(page);
    page.Move(0, 0, 3000, 2000);  // far too small: the list keeps room for its buttons
    EXPECT_EQ(box("UCEventData1").height, UCEventData::kMinHeight);
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(box(fixed[i]), before[i]) << fixed[i];
    page.Move(0, 0, Page::kWidth, Page::kHeight);
    EXPECT_EQ(box("UCEventData1.Command1"), before[3]);
    EXPECT_EQ(box("UCEventData1.ListView1"), list);
}

TYPED_TEST(ExpertPage, PollsOnlyWhileShownAndBound) {
    testing::PageRig<TypeParam> p;
    EXPECT_TRUE(p.DueAtOnce());
    p.Run(1);
    EXPECT_EQ(p.Timer().Interval(), 300);
    p.page.Communication().ChangeTimer(false);  // a mode change is under way
    p.Run(3000);
    EXPECT_EQ(p.bridge->Count("ConnectionState"), 1);
    p.page.Communication().ChangeTimer(true);
    EXPECT_TRUE(p.DueAtOnce());
    p.Run(1);
    EXPECT_EQ(p.Timer().Interval(), 300);
    p.page.SetVisible(false);
    p.Run(3000);
    EXPECT_EQ(p.bridge->Count("ConnectionState"), 2);
    p.page.SetVisible(true);
    p.page.RefreshContents(&p.gui);
    EXPECT_TRUE(p.DueAtOnce());
    p.page.RefreshContents(nullptr);  // released: stopped for good
    p.page.Communication().ChangeTimer(true);
    EXPECT_FALSE(p.Timer().Enabled());
}

TYPED_TEST(ExpertPage, AFailingBusinessObjectStopsNothing) {
    testing::PageRig<TypeParam> p;
    for (const char* c : {"ConnectionState", "IOL::GetEvent", "IOL::GetMode",
                          "IOL::ReadOutputImage", "IOL::TransferImage Data="})
        p.bridge->Fail(c, 462, "The remote server machine does not exist");
    p.page.CheckProduct = [](bool, int32_t, bool) { Raise(462, "gone"); };
    p.page.Activity = [](bool) { Raise(462, "gone"); };
    p.Run(1 + 300 * 5);
    EXPECT_TRUE(p.Timer().Enabled());
    EXPECT_EQ(p.bridge->Count("ConnectionState"), 6);
    EXPECT_TRUE(p.services.Messages.empty());
}

// The frame events of three ticks, and whether the user may start IO-Link mode: only from SIO
// or reset, and only while the business object is connected to the master.
TYPED_TEST(ExpertPage, TellsTheFrameWhatItFoundAndOffersTheModeChange) {
    // The events of the device information page (it reads the values once on entering IO-Link
    // mode), those of the data and parameter pages, and whether "IO-Link Mode" is enabled.
    struct Row {
        const char *word, *deviceInfo, *polling;
        bool start;
    };
    const Row rows[] = {{"OFFLINE,FALSE", "C1 C1 C1 ", "a c1 C1 C1 C1 ", false},
                        {"ONLINE-,TRUE", "c2 ", "c2 A A A ", false},
                        {"ONLINE+,TRUE", "A c3 ", "c3 A A A ", false},
                        {"SIO,TRUE", "c4 ", "c4 A A A ", true},
                        {"SIO,FALSE", "c4 ", "c4 A A A ", false},
                        {"RESET,TRUE", "c5 ", "c5 A A A ", true},
                        {"WHATEVER,TRUE", "", "A A A ", false}};
    constexpr bool deviceInfo = std::is_same_v<TypeParam, UCDeviceInfo>;
    for (const Row& row : rows) {
        testing::PageRig<TypeParam> p(row.word);
        p.Run(1 + 300 * 2);
        EXPECT_EQ(p.frame, deviceInfo ? row.deviceInfo : row.polling) << row.word;
        EXPECT_EQ(p.page.Communication()("BTStart").Enabled(), row.start) << row.word;
    }
}

}  // namespace
}  // namespace kestrova
