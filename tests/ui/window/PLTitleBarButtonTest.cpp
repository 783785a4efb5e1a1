#include "ui/window/PLTitleBarButton.h"

#include <gtest/gtest.h>

namespace {

struct ButtonCase
{
    qint32 type;
    QSize size;
    bool hasIcon;
};

class TitleBarButton : public ::testing::TestWithParam<ButtonCase>
{
};

TEST_P(TitleBarButton, HasTheFrameAndIconOfItsType)
{
    const ButtonCase &expected = GetParam();
    PLTitleBarButton button(expected.type);
    EXPECT_EQ(button.size(), expected.size);
    EXPECT_EQ(button.cell().type(), expected.type);
    EXPECT_EQ(!button.cell().icon().isNull(), expected.hasIcon);
    if (expected.hasIcon) {
        EXPECT_EQ(button.cell().icon().deviceIndependentSize(), expected.size);
    }
}

INSTANTIATE_TEST_SUITE_P(Types, TitleBarButton,
                         ::testing::Values(ButtonCase{0, QSize(3, 22), true}, ButtonCase{1, QSize(28, 22), true},
                                           ButtonCase{2, QSize(28, 22), true}, ButtonCase{3, QSize(28, 22), true},
                                           ButtonCase{4, QSize(28, 22), true}, ButtonCase{5, QSize(28, 22), true},
                                           ButtonCase{6, QSize(28, 22), false}, ButtonCase{-1, QSize(28, 22), false}));

TEST(TitleBarButton, SeparatorIsNoButtonFace)
{
    PLTitleBarButton separator(0);
    EXPECT_FALSE(separator.isEnabled());
    EXPECT_EQ(separator.cell().icon().deviceIndependentSize(), QSizeF(3, 22));
}

}
