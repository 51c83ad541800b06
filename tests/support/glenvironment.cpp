// Every test of this binary draws through SDL's offscreen driver (EGL, no
// display) on llvmpipe; this sets the process up for that once.

#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstdlib>

namespace {

class CGLEnvironment : public ::testing::Environment
{
public:
    void SetUp() override
    {
        setenv("SDL_VIDEODRIVER", "offscreen", 1);
        m_cache = std::make_unique<CTempDir>();
        setenv("MESA_SHADER_CACHE_DIR", m_cache->Path().c_str(), 0);
#ifdef __SANITIZE_ADDRESS__
        // LeakSanitizer's tracer can crash while llvmpipe's rasterizer threads
        // run; drawing on the calling thread gives the same pixels.
        setenv("LP_NUM_THREADS", "0", 0);
#endif
        // Mesa leaves allocations behind when SDL unloads its driver, and
        // LeakSanitizer then reports them from an unnamed module. Pinned in
        // memory, the driver is never unloaded, and only our leaks remain.
        for (const char* library : {"libEGL_mesa.so.0", "/usr/lib/x86_64-linux-gnu/dri/swrast_dri.so"})
            dlopen(library, RTLD_NOW | RTLD_NODELETE);
    }
    void TearDown() override { m_cache.reset(); }

private:
    std::unique_ptr<CTempDir> m_cache;
};

const auto* s_environment = ::testing::AddGlobalTestEnvironment(new CGLEnvironment);

} // namespace
