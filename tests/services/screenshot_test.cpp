#include "services/screenshot.h"
#include "support/glfixture.h"
#include "support/picturecompare.h"
#include "support/tempdir.h"

#include <set>

namespace {

TEST(Screenshot, NamesTakeTheStemTheMinuteAndTheFirstFreeCounter)
{
    std::tm time{};
    time.tm_year = 2026 - 1900;
    time.tm_mon = 10;
    time.tm_mday = 24;
    time.tm_hour = 9;
    time.tm_min = 5;
    std::set<std::string> taken;
    const auto exists = [&taken](const std::string& name) { return taken.count(name) > 0; };
    EXPECT_EQ(CScreenshot::PictureName("shots/Plasma.png", time, exists), "shots/Plasma-2026-11-24_09-05-01.png");
    taken.insert("shots/Plasma-2026-11-24_09-05-01.png");
    EXPECT_EQ(CScreenshot::PictureName("shots\\Plasma.png", time, exists), "shots/Plasma-2026-11-24_09-05-02.png")
        << "a second picture in the same minute";
    EXPECT_EQ(CScreenshot::PictureName("shots/", time, exists), "shots/2026-11-24_09-05_01.png") << "no stem";
    EXPECT_EQ(CScreenshot::PictureName("folder.d/name", time, exists), "folder.d/2026-11-24_09-05_01.png");
    EXPECT_EQ(CScreenshot::PictureName("x.png", time, [](const std::string&) { return true; }), "x.png")
        << "every counter taken";
}

class ScreenshotGL : public CGLRenderTest
{
};

TEST_F(ScreenshotGL, APictureOfTheWindowIsWritten)
{
    CTempDir dir;
    ClearTo(1, 0.5f, 0);
    const std::string name = CScreenshot(m_render.get()).TakeScreenshot(dir.File("new/Scene.png"));
    ASSERT_NE(name.find("/new/Scene-"), std::string::npos) << name;
    EXPECT_EQ(PixelAt(name, 3, 3), (SPixel{255, 128, 0}));
    EXPECT_EQ(PixelAt(name, Width - 1, Height - 1), (SPixel{255, 128, 0}));
}

} // namespace
