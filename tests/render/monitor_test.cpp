#include "render/monitor.h"

#include <gtest/gtest.h>

namespace {

CMonitor Monitor(int l, int t, int r, int b, int handle = 1)
{
    CMonitor m;
    m.m_rect = SRect{l, t, r, b};
    m.m_handle = handle;
    return m;
}

} // namespace

TEST(Monitors, SectionsOfSeveralMonitors)
{
    // Two side by side and one below the second, as a fake enumeration gives them.
    std::vector<CMonitor> monitors = {Monitor(0, 0, 1920, 1080), Monitor(1920, 0, 3840, 1080),
                                      Monitor(1920, 1080, 3840, 2160)};
    const SRect virt = VirtualRect(monitors);
    EXPECT_EQ(virt, (SRect{0, 0, 3840, 2160}));
    ComputeSections(monitors, virt.Width(), virt.Height());
    EXPECT_EQ(monitors[0].m_section, (SSection{0, 0, 0.5, 0.5}));
    EXPECT_EQ(monitors[1].m_section, (SSection{0.5, 0, 0.5, 0.5}));
    EXPECT_EQ(monitors[2].m_section, (SSection{0.5, 0.5, 0.5, 0.5}));

    // Thirds are divided in single precision and widened before subtracting.
    std::vector<CMonitor> thirds = {Monitor(0, 0, 1000, 500), Monitor(1000, 0, 2000, 500), Monitor(2000, 0, 3000, 500)};
    ComputeSections(thirds, 3000, 500);
    EXPECT_EQ(thirds[1].m_section.x, static_cast<double>(1000.0f / 3000.0f));
    EXPECT_EQ(thirds[1].m_section.width, static_cast<double>(2000.0f / 3000.0f) - static_cast<double>(1000.0f / 3000.0f));
    EXPECT_EQ(thirds[2].m_section.width, 1.0 - static_cast<double>(2000.0f / 3000.0f));

    // A monitor left of the primary has a negative origin; it is not shifted.
    std::vector<CMonitor> left = {Monitor(0, 0, 800, 600), Monitor(-800, 0, 0, 600)};
    EXPECT_EQ(VirtualRect(left), (SRect{-800, 0, 800, 600}));
    ComputeSections(left, 1600, 600);
    EXPECT_EQ(left[1].m_section.x, -0.5);
    EXPECT_EQ(left[1].m_section.width, 0.5);

    // A monitor without a handle does not join the virtual rectangle.
    std::vector<CMonitor> gone = {Monitor(0, 0, 800, 600), Monitor(800, 0, 1600, 600, 0)};
    EXPECT_EQ(VirtualRect(gone), (SRect{0, 0, 800, 600}));
}
