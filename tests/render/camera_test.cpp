#include "render/camera.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

void ExpectNear(const SVec3& actual, const SVec3& expected, float tolerance = 1e-5f)
{
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
    EXPECT_NEAR(actual.z, expected.z, tolerance);
}

SRect Rect(int l, int t, int r, int b)
{
    return SRect{l, t, r, b};
}

} // namespace

TEST(Camera, DefaultLooksAlongPositiveZ)
{
    CCamera camera;
    const CMatrix identity = MatrixIdentity();
    for (int i = 0; i < 16; ++i)
        EXPECT_FLOAT_EQ(camera.m_view[i], identity[i]) << i;
    EXPECT_FLOAT_EQ(camera.m_fov, 45.0f);
    EXPECT_FLOAT_EQ(camera.m_near, 1.0f);
    EXPECT_FLOAT_EQ(camera.m_far, 100.0f);
    EXPECT_EQ(camera.m_projection, CCamera::Perspective);
    // The view matrix stands first, so the camera is usable as a matrix.
    EXPECT_EQ(static_cast<void*>(&camera), static_cast<void*>(camera.m_view.data()));
}

TEST(Camera, LookAtMapsWorldToLeftHandedView)
{
    CCamera camera;
    camera.LookAt({0, 0, -10}, {0, 0, 0}, {0, 1, 0});
    ExpectNear(TransformPoint({0, 0, 0}, camera.m_view), {0, 0, 10});
    ExpectNear(TransformPoint({1, 2, 0}, camera.m_view), {1, 2, 10});

    // Looking along +x from the origin: world +x is ahead, world −z is to the right.
    camera.LookAt({0, 0, 0}, {5, 0, 0}, {0, 1, 0});
    ExpectNear(camera.m_forward, {1, 0, 0});
    ExpectNear(camera.m_right, {0, 0, -1});
    ExpectNear(camera.m_up, {0, 1, 0});
    ExpectNear(TransformPoint({3, 0, 0}, camera.m_view), {0, 0, 3});
    ExpectNear(TransformPoint({0, 0, -2}, camera.m_view), {2, 0, 0});

    // A tilted up vector is made orthogonal; the eye is stored beside the matrix.
    camera.LookAt({1, 2, 3}, {1, 2, 4}, {0, 1, 1});
    ExpectNear(camera.m_up, {0, 1, 0});
    ExpectNear(camera.m_eye, {1, 2, 3});
    ExpectNear(TransformPoint({1, 2, 3}, camera.m_view), {0, 0, 0});
}

TEST(Camera, PerspectiveOfOneWindow)
{
    CCamera camera;
    const SRect window = Rect(0, 0, 1280, 720);
    const CMatrix p = BuildProjection(camera, window, window, false);
    const float t = static_cast<float>(std::tan(45.0 * 0.017453292 * 0.5));
    EXPECT_FLOAT_EQ(p[5], 1.0f / t);
    EXPECT_FLOAT_EQ(p[0], 1.0f / (t * 1280.0f / 720.0f));
    EXPECT_FLOAT_EQ(p[10], 101.0f / 99.0f);
    EXPECT_FLOAT_EQ(p[11], 1.0f);
    EXPECT_FLOAT_EQ(p[14], -200.0f / 99.0f);
    EXPECT_FLOAT_EQ(p[15], 1.0f);
    EXPECT_FLOAT_EQ(p[8], 0.0f);
    EXPECT_FLOAT_EQ(p[12], 0.0f);

    // Into a framebuffer the y axis is negated, nothing else changes.
    const CMatrix flipped = BuildProjection(camera, window, window, true);
    for (int i = 0; i < 16; ++i)
        EXPECT_FLOAT_EQ(flipped[i], i == 5 ? -p[i] : p[i]) << i;
}

TEST(Camera, SectionsOfAWideVirtualScreen)
{
    CCamera camera;
    const SRect left = Rect(0, 0, 800, 600);
    const SRect right = Rect(800, 0, 1600, 600);
    const SRect both = Rect(0, 0, 1600, 600);
    const CMatrix whole = BuildProjection(camera, both, both, false);
    const CMatrix l = BuildProjection(camera, left, both, false);
    const CMatrix r = BuildProjection(camera, right, both, false);

    // Each half is twice as wide in clip space, shifted by 4 × its offset.
    EXPECT_FLOAT_EQ(l[0], whole[0] * 2.0f);
    EXPECT_FLOAT_EQ(l[5], whole[5]);
    EXPECT_FLOAT_EQ(l[8], 1.0f);  // −dx with dx = (400 − 800) / 1600 × 4
    EXPECT_FLOAT_EQ(r[8], -1.0f);
    EXPECT_FLOAT_EQ(r[12], -1.0f);
    EXPECT_FLOAT_EQ(r[9], 0.0f);

    // A render target of the virtual size is the whole picture, centred.
    const SRect target = Rect(0, 0, 1600, 600);
    const CMatrix t = BuildProjection(camera, target, Rect(100, 0, 1700, 600), true);
    EXPECT_FLOAT_EQ(t[8], 0.0f);
    EXPECT_FLOAT_EQ(t[5], -whole[5]);

    // A lower monitor moves by −8 × its vertical offset.
    const CMatrix lower = BuildProjection(camera, Rect(0, 600, 800, 1200), Rect(0, 0, 800, 1200), false);
    EXPECT_FLOAT_EQ(lower[9], 2.0f);
    EXPECT_FLOAT_EQ(lower[13], -2.0f);
}

TEST(Camera, Orthographic)
{
    CCamera camera;
    camera.m_projection = CCamera::Orthographic;
    camera.m_near = 2.0f;
    camera.m_far = 10.0f;
    const SRect window = Rect(0, 0, 640, 480);
    const CMatrix p = BuildProjection(camera, window, window, false);
    EXPECT_FLOAT_EQ(p[0], 2.0f);
    EXPECT_FLOAT_EQ(p[5], -2.0f);
    EXPECT_FLOAT_EQ(p[10], 0.25f);
    EXPECT_FLOAT_EQ(p[14], -1.5f);
    EXPECT_FLOAT_EQ(p[11], 0.0f);
    EXPECT_FLOAT_EQ(p[15], 1.0f);
    EXPECT_FLOAT_EQ(BuildProjection(camera, window, window, true)[5], 2.0f);
}

TEST(Matrix, MultiplyConcatenatesLeftToRight)
{
    CMatrix translate = MatrixIdentity();
    translate[12] = 5;
    CMatrix scale = MatrixIdentity();
    scale[0] = 2;
    // Translate first, then scale: 1 → 6 → 12.
    ExpectNear(TransformPoint({1, 0, 0}, MatrixMultiply(translate, scale)), {12, 0, 0});
    ExpectNear(TransformPoint({1, 0, 0}, MatrixMultiply(scale, translate)), {7, 0, 0});
}
