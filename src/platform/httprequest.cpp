#include "platform/httprequest.h"

#include <curl/curl.h>

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>

struct CHttpRequest::SShared
{
    SOptions m_options;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_done;
    EState m_state = EState::Running;
    std::string m_answer;
    std::string m_failure;
};

namespace {

struct SAnswer
{
    std::string* m_text;
    size_t m_max;
};

size_t TakeAnswer(char* data, size_t size, size_t count, void* user)
{
    auto* answer = static_cast<SAnswer*>(user);
    const size_t bytes = size * count;
    const size_t room = answer->m_max - std::min(answer->m_max, answer->m_text->size());
    answer->m_text->append(data, std::min(bytes, room));
    return bytes;
}

struct SCurlDeleter
{
    void operator()(CURL* curl) const { curl_easy_cleanup(curl); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

} // namespace

CHttpRequest::CHttpRequest(std::shared_ptr<SShared> shared) : m_shared(std::move(shared))
{
}

CHttpRequest::~CHttpRequest() = default;

std::unique_ptr<CHttpRequest> CHttpRequest::Start(SOptions options)
{
    auto shared = std::make_shared<SShared>();
    shared->m_options = std::move(options);
    try {
        std::thread([shared] { Run(shared); }).detach();
    } catch (const std::system_error&) {
        return nullptr;
    }
    return std::unique_ptr<CHttpRequest>(new CHttpRequest(std::move(shared)));
}

void CHttpRequest::Run(const std::shared_ptr<SShared>& shared)
{
    // Once per process, from whichever request comes first; never cleaned up,
    // since a request may still run while the process ends.
    static const CURLcode init = curl_global_init(CURL_GLOBAL_DEFAULT);
    const SOptions& options = shared->m_options;
    std::string answer, failure;
    long status = 0;
    std::unique_ptr<CURL, SCurlDeleter> curl(init == CURLE_OK ? curl_easy_init() : nullptr);
    std::unique_ptr<curl_slist, SCurlDeleter> headers;
    if (!curl) {
        failure = "no HTTP client";
    } else {
        SAnswer sink{&answer, options.m_maxAnswer};
        curl_easy_setopt(curl.get(), CURLOPT_URL, options.m_url.c_str());
        curl_easy_setopt(curl.get(), CURLOPT_PROTOCOLS_STR, "http,https");
        curl_easy_setopt(curl.get(), CURLOPT_USERAGENT, "Lumora " LUMORA_VERSION);
        // Signals belong to the frame thread; timeouts must not use them.
        curl_easy_setopt(curl.get(), CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(curl.get(), CURLOPT_CONNECTTIMEOUT_MS, options.m_connectTimeoutMs);
        curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT_MS, options.m_timeoutMs);
        curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, TakeAnswer);
        curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &sink);
        if (!options.m_contentType.empty()) {
            headers.reset(curl_slist_append(nullptr, ("Content-Type: " + options.m_contentType).c_str()));
            curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headers.get());
            curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, options.m_body.data());
            curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(options.m_body.size()));
        }
        const CURLcode result = curl_easy_perform(curl.get());
        curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &status);
        if (result != CURLE_OK)
            failure = curl_easy_strerror(result);
        else if (status < 200 || status > 299)
            failure = "the server answered " + std::to_string(status);
    }
    std::lock_guard lock(shared->m_mutex);
    shared->m_answer = std::move(answer);
    shared->m_failure = std::move(failure);
    shared->m_state = shared->m_failure.empty() ? EState::Succeeded : EState::Failed;
    shared->m_done.notify_all();
}

CHttpRequest::EState CHttpRequest::Wait(std::chrono::milliseconds limit) const
{
    std::unique_lock lock(m_shared->m_mutex);
    m_shared->m_done.wait_for(lock, limit, [this] { return m_shared->m_state != EState::Running; });
    return m_shared->m_state;
}

std::string CHttpRequest::Answer() const
{
    std::lock_guard lock(m_shared->m_mutex);
    return m_shared->m_answer;
}

std::string CHttpRequest::Failure() const
{
    std::lock_guard lock(m_shared->m_mutex);
    return m_shared->m_failure;
}
