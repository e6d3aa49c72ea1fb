#include "pages/iolinkparam/IOLinkParam.h"

#include <gtest/gtest.h>

#include "pages/common/testing/PageRig.h"

namespace kestrova {
namespace {

TEST(IOLinkParam, ARequestWaitsForIOLinkModeAndRunsOnce) {
    testing::PageRig<IOLinkParam> p("SIO,TRUE");
    auto& panel = p.page.Parameter();
    p.bridge->Answer(testing::kRead16, "OK:1 65");
    panel("TextRdIndex").UserType("16");
    panel("TextRdSubIndex").UserType("0");
    panel("Command1").UserClick();  // pressed before the first tick locked the panel
    EXPECT_EQ(p.page.PendingReason(), UCParameter::kReasonRead);
    p.Run(1 + 300 * 3);
    EXPECT_EQ(p.bridge->Count(testing::kRead16), 0);
    p.bridge->Answer("ConnectionState", "ONLINE+,TRUE");
    p.Run(300);
    EXPECT_EQ(p.bridge->Count(testing::kRead16), 1);
    EXPECT_EQ(panel("TextRd").Text(), "65");
    // Done once, even when it fails.
    p.bridge->Fail(testing::kRead16, 462, "gone");
    panel("Command1").UserClick();
    p.Run(1 + 300 * 3);
    EXPECT_EQ(p.bridge->Count(testing::kRead16), 2);
    EXPECT_EQ(panel("LabelError").Caption(), "gone");
}

}  // namespace
}  // namespace kestrova
