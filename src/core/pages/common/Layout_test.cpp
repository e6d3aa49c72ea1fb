// The design-time layouts: every control lies inside the user control that holds it, and the
// pages fit the main control's page frame at its opening size.
#include <gtest/gtest.h>

#include "pages/common/testing/PageRig.h"
#include "pages/deviceinfo/UCDeviceInfo.h"
#include "pages/iolinkdata/IOLinkData.h"
#include "pages/iolinkparam/IOLinkParam.h"

namespace kestrova {
namespace {

constexpr int32_t kPageWidth = 7825;
constexpr int32_t kPageHeight = 5535;

void ExpectInside(ui::Control& holder) {
    for (const auto& child : holder.Children()) {
        ui::Control& c = *child;
        if (c.GetKind() == ui::Kind::Timer) continue;
        SCOPED_TRACE(holder.Name() + "." + c.Name() + "(" + std::to_string(c.Index()) + ")");
        EXPECT_GE(c.Left(), 0);
        EXPECT_GE(c.Top(), 0);
        EXPECT_LE(c.Left() + c.Width(), holder.Width());
        EXPECT_LE(c.Top() + c.Height(), holder.Height());
        if (c.GetKind() == ui::Kind::UserControl) ExpectInside(c);
    }
}

TEST(ExpertLayout, ControlsLieInsideTheirPanelsAndPagesFitTheFrame) {
    testing::RecordingServices services;
    UCDeviceInfo info(services);
    IOLinkData data(services);
    IOLinkParam param(services);
    for (ui::Control* page : std::initializer_list<ui::Control*>{&info, &data, &param}) {
        EXPECT_LE(page->Width(), kPageWidth);
        EXPECT_LE(page->Height(), kPageHeight);
        ExpectInside(*page);
    }
}

}  // namespace
}  // namespace kestrova
