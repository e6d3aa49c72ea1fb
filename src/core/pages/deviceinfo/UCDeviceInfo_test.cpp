#include "pages/deviceinfo/UCDeviceInfo.h"

#include <gtest/gtest.h>

#include "pages/common/testing/PageRig.h"

namespace kestrova {
namespace {

// Values, units, clearing and the read-once rule are proven through the whole product by the
// end-to-end scripts; here the bit lengths that no simulated device reports.
TEST(UCDeviceInfo, LengthsInBitsShowTheBitUnit) {
    testing::PageRig<UCDeviceInfo> p;
    p.bridge->Answer("IOL::GetMode", testing::ModeAnswer(0x42, 0x09));  // SIO supported
    p.Run(1);
    EXPECT_EQ(p.page("TextInLength").Text() + " " + p.page("LabelInLen").Caption(), "2 bit");
    EXPECT_EQ(p.page("TextOutLength").Text() + " " + p.page("LabelOutLen").Caption(), "9 bit");
    EXPECT_EQ(p.page("CheckSIO").Value(), 1);
}

}  // namespace
}  // namespace kestrova
