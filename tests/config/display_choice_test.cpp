#include "config/display_choice.h"
#include "support/testing.h"

namespace {

using namespace tandor::test;

using tandor::ChosenDisplay;
using tandor::DisplayFacts;
using Because = tandor::ChosenDisplay::Because;

TEST(DisplayChoice, TheBuiltInDisplayThenTheOriginThenTheFirst) {
    const DisplayFacts built_in{true, false, {2160, 1440}, {1920, 1080}, {1280, 720}};
    const DisplayFacts origin{false, true, {}, {2560, 1440}, {1280, 720}};
    const DisplayFacts other{false, false, {}, {0, 900}, {1440, 900}};
    const DisplayFacts unknown{true, true, {}, {}, {1024, 0}};
    struct Case {
        std::vector<DisplayFacts> displays;
        Because because;
        ExScreen::Resolution size;
    };
    const Case cases[] = {{{other, origin, built_in}, Because::kBuiltIn, {2160, 1440}},
                          {{other, origin}, Because::kAtOrigin, {2560, 1440}},
                          {{other, other}, Because::kFirst, {1440, 900}}};
    for (const Case& one : cases) {
        const auto chosen = tandor::ChooseDisplay(one.displays);
        ASSERT_TRUE(chosen);
        EXPECT_EQ(chosen->because, one.because);
        EXPECT_EQ(chosen->size, one.size);
    }
    EXPECT_FALSE(tandor::ChooseDisplay({}));
    EXPECT_FALSE(tandor::ChooseDisplay(std::vector{unknown, origin}));
}

TEST(DisplayChoice, ThreeByTwoIsExactAndLandscape) {
    for (const ExScreen::Resolution& size : {ExScreen::Resolution{2160, 1440}, {3, 2}, {4294967295u, 2863311530u}})
        EXPECT_TRUE(tandor::IsThreeByTwo(size)) << size.width;
    for (const ExScreen::Resolution& size : {ExScreen::Resolution{1440, 2160}, {1920, 1200}, {2161, 1440}})
        EXPECT_FALSE(tandor::IsThreeByTwo(size)) << size.width;
}

}  // namespace
