#include "platform/audiosources.h"

#include "app/log.h"
#include "platform/ffmpegsongdecoder.h"
#include "platform/pulsecapture.h"

#include <pulse/pulseaudio.h>

#include <thread>

namespace {

struct SListing
{
    std::vector<CAudioSource>* sources;
    bool done = false;
};

void OnSource(pa_context*, const pa_source_info* info, int eol, void* user)
{
    auto* listing = static_cast<SListing*>(user);
    if (eol || !info) {
        listing->done = true;
        return;
    }
    listing->sources->push_back({info->name ? info->name : "", info->description ? info->description : "",
                                 info->monitor_of_sink != PA_INVALID_INDEX});
}

// Owns the main loop and context of one listing.
class CPulseQuery
{
public:
    CPulseQuery() : m_mainloop(pa_mainloop_new())
    {
        if (m_mainloop)
            m_context = pa_context_new(pa_mainloop_get_api(m_mainloop), "Lumora source list");
    }
    ~CPulseQuery()
    {
        if (m_context) {
            pa_context_disconnect(m_context);
            pa_context_unref(m_context);
        }
        if (m_mainloop)
            pa_mainloop_free(m_mainloop);
    }
    CPulseQuery(const CPulseQuery&) = delete;
    CPulseQuery& operator=(const CPulseQuery&) = delete;

    pa_context* Context() const { return m_context; }
    // One turn of the loop without waiting, then a short sleep when idle.
    void Turn()
    {
        if (pa_mainloop_iterate(m_mainloop, 0, nullptr) <= 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }

private:
    pa_mainloop* m_mainloop;
    pa_context* m_context = nullptr;
};

} // namespace

bool ListAudioSources(std::vector<CAudioSource>& sources, std::chrono::milliseconds timeout)
{
    sources.clear();
    CPulseQuery query;
    pa_context* context = query.Context();
    if (!context)
        return Error("Can't make a PulseAudio context");
    if (pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        return Error("No sound server to list sources: %s", pa_strerror(pa_context_errno(context)));

    // Waiting on the loop with a deadline of our own: a server that accepts
    // but never answers must not hang the command line.
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    SListing listing{&sources};
    pa_operation* operation = nullptr;
    while (!listing.done) {
        if (std::chrono::steady_clock::now() > deadline) {
            if (operation)
                pa_operation_unref(operation);
            return Error("The sound server did not list its sources in time");
        }
        const pa_context_state_t state = pa_context_get_state(context);
        if (!PA_CONTEXT_IS_GOOD(state)) {
            if (operation)
                pa_operation_unref(operation);
            return Error("No sound server to list sources: %s", pa_strerror(pa_context_errno(context)));
        }
        if (state == PA_CONTEXT_READY && !operation) {
            operation = pa_context_get_source_info_list(context, OnSource, &listing);
            if (!operation)
                return Error("Can't list sound sources: %s", pa_strerror(pa_context_errno(context)));
        }
        query.Turn();
    }
    pa_operation_unref(operation);
    return true;
}

void RegisterSoundSources()
{
    g_captureDeviceFactory = [](const std::string& sourceName) -> std::unique_ptr<CCaptureDevice> {
        return std::make_unique<CPulseCapture>(sourceName);
    };
    g_songDecoderFactory = []() -> std::unique_ptr<CSongDecoder> { return std::make_unique<CFfmpegSongDecoder>(); };
}
