#include "services/scriptengine.h"

#include "app/textnumber.h"
#include "app/textutil.h"
#include "app/trace.h"

#include <algorithm>
#include <chrono>

// ---- A request and its answer ----

CScriptRequest::CScriptRequest(std::string_view text)
    : m_text(text.data(), qsizetype(text.size())), m_reader(m_text), m_writer(&m_buffer)
{
    m_reader.readNextStartElement();
    m_writer.setAutoFormatting(true);
}

QString CScriptRequest::Raw(std::string_view name) const
{
    return m_reader.attributes().value(QLatin1StringView(name.data(), qsizetype(name.size()))).toString();
}

bool CScriptRequest::Has(std::string_view name) const
{
    return m_reader.attributes().hasAttribute(QLatin1StringView(name.data(), qsizetype(name.size())));
}

std::string CScriptRequest::Text(std::string_view name) const
{
    return ToStd(Raw(name).replace(QStringLiteral("\\@"), QStringLiteral("\t")));
}

bool CScriptRequest::Bool(std::string_view name) const
{
    return Int(name) != 0;
}

int CScriptRequest::Int(std::string_view name) const
{
    return Raw(name).toInt();
}

float CScriptRequest::Float(std::string_view name) const
{
    return Raw(name).toFloat();
}

void CScriptRequest::Begin(std::string_view element)
{
    m_writer.writeStartElement(ToQt(element));
}

void CScriptRequest::Attribute(std::string_view name, std::string_view value)
{
    m_writer.writeAttribute(ToQt(name), ToQt(value));
}

void CScriptRequest::Attribute(std::string_view name, bool value)
{
    Attribute(name, std::string_view(value ? "1" : "0"));
}

void CScriptRequest::Attribute(std::string_view name, int value)
{
    m_writer.writeAttribute(ToQt(name), QString::number(value));
}

void CScriptRequest::Attribute(std::string_view name, float value)
{
    m_writer.writeAttribute(ToQt(name), QString::number(double(value), 'g', 6));
}

std::string CScriptRequest::Finish()
{
    m_writer.writeEndDocument();
    // The writer keeps its place in the buffer, so the buffer only grows.
    std::string text = m_buffer.sliced(m_finished).toStdString();
    m_finished = m_buffer.size();
    return text;
}

// ---- The engine ----

void CScriptEngine::AddCommand(std::string_view name, CommandHandler handler, void* context)
{
    m_commands.push_back({std::string(name), handler, context});
}

void CScriptEngine::RemoveCommands(const void* context)
{
    std::erase_if(m_commands, [context](const SCommand& command) { return command.m_context == context; });
}

size_t CScriptEngine::AddCommands(std::string_view text, uint32_t origin)
{
    // Offsets of the reader count characters, so the pieces are cut from
    // the decoded text.
    const QString whole = QString::fromUtf8(text.data(), qsizetype(text.size()));
    QXmlStreamReader reader(whole);
    std::vector<std::string> pieces;
    bool wellFormed = reader.readNextStartElement();
    if (wellFormed) {
        qint64 start = reader.characterOffset();
        while (reader.readNextStartElement()) {
            reader.skipCurrentElement();
            if (reader.hasError())
                break;
            const qint64 end = reader.characterOffset();
            pieces.push_back(whole.mid(start, end - start).toStdString());
            start = end;
        }
        // What follows the wrapper's end does not count.
        wellFormed = !reader.hasError();
    }

    std::lock_guard lock(m_pendingLock);
    for (std::string& piece : pieces)
        m_pending.push_back({EPending::Command, std::move(piece), origin});
    if (!wellFormed) {
        const std::string why = "Malformed XML: " + ToStd(reader.errorString()) + " (line " +
                                std::to_string(reader.lineNumber()) + ", column " +
                                std::to_string(reader.columnNumber()) + ")";
        m_pending.push_back({EPending::Malformed, why, origin});
    }
    m_pending.push_back({EPending::EndOfRequest, {}, origin});
    return pieces.size();
}

void CScriptEngine::Run(double budgetMs)
{
    // A handler that runs an update of the director comes back here.
    if (m_inRun)
        return;
    m_inRun = true;
    RunPending(budgetMs);
    m_inRun = false;
}

void CScriptEngine::RunPending(double budgetMs)
{
    const auto start = std::chrono::steady_clock::now();
    std::unique_lock lock(m_pendingLock, std::try_to_lock);
    // Someone is queueing right now; the next update comes soon.
    if (!lock.owns_lock())
        return;
    while (!m_pending.empty()) {
        const SPending entry = std::move(m_pending.front());
        m_pending.pop_front();
        // Handlers run without the lock, so that senders never wait for them.
        lock.unlock();
        RunOne(entry);
        if (budgetMs > 0.0 &&
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count() > budgetMs)
            return;
        if (!lock.try_lock())
            return;
    }
}

void CScriptEngine::RunOne(const SPending& entry)
{
    if (entry.m_kind == EPending::EndOfRequest) {
        Answer({}, entry.m_origin, true);
        return;
    }
    m_running = entry.m_origin;
    if (entry.m_kind == EPending::Malformed) {
        CScriptRequest request("");
        request.Begin(kUnnamedRequest);
        request.Attribute("Error", entry.m_text);
        SendAnswer(request);
        m_running = 0;
        return;
    }

    CScriptRequest request(entry.m_text);
    const std::string name = ToStd(request.Name());
    std::string error = "Unknown command";
    for (const SCommand& command : m_commands) {
        if (command.m_name != name)
            continue;
        TRACE("CScriptEngine::Run");
        error = command.m_handler(*this, request, command.m_context).m_error;
        break;
    }
    if (!error.empty()) {
        // A handler may have begun its answer before it failed.
        request.Finish();
        request.Begin(name.empty() ? std::string_view(kUnnamedRequest) : std::string_view(name));
        request.Attribute("Error", error);
        SendAnswer(request);
    }
    m_running = 0;
}

void CScriptEngine::SendAnswer(CScriptRequest& request)
{
    Answer(request.Finish(), m_running, false);
}

void CScriptEngine::AddResult(std::string text)
{
    Answer(std::move(text), m_running, false);
}

void CScriptEngine::Answer(std::string text, uint32_t origin, bool endOfRequest)
{
    std::lock_guard lock(m_resultsLock);
    // A command that was running when its client went answers no one.
    if (origin != 0 && m_forgotten.contains(origin))
        return;
    m_results.push_back({std::move(text), origin, endOfRequest});
    if (endOfRequest && m_answerReady)
        m_answerReady();
}

std::string CScriptEngine::GetResults()
{
    std::lock_guard lock(m_resultsLock);
    std::string text = "<lms>";
    for (const SResult& result : m_results)
        text += result.m_text;
    m_results.clear();
    return text + "</lms>";
}

std::optional<std::string> CScriptEngine::TakeAnswer(uint32_t origin)
{
    std::lock_guard lock(m_resultsLock);
    const auto end = std::find_if(m_results.begin(), m_results.end(), [origin](const SResult& result) {
        return result.m_endOfRequest && result.m_origin == origin;
    });
    if (end == m_results.end())
        return std::nullopt;
    std::string text = "<lms>";
    std::deque<SResult> kept;
    for (auto it = m_results.begin(); it != end; ++it) {
        if (it->m_origin == origin || it->m_origin == 0)
            text += it->m_text;
        else
            kept.push_back(std::move(*it));
    }
    kept.insert(kept.end(), std::make_move_iterator(end + 1), std::make_move_iterator(m_results.end()));
    m_results = std::move(kept);
    return text + "</lms>";
}

void CScriptEngine::ForgetOrigin(uint32_t origin)
{
    {
        std::lock_guard lock(m_pendingLock);
        std::erase_if(m_pending, [origin](const SPending& entry) { return entry.m_origin == origin; });
    }
    std::lock_guard lock(m_resultsLock);
    m_forgotten.insert(origin);
    std::erase_if(m_results, [origin](const SResult& result) { return result.m_origin == origin; });
}

size_t CScriptEngine::PendingCount()
{
    std::lock_guard lock(m_pendingLock);
    return size_t(std::count_if(m_pending.begin(), m_pending.end(),
                                [](const SPending& entry) { return entry.m_kind != EPending::EndOfRequest; }));
}

void CScriptEngine::SetAnswerReadyCallback(std::function<void()> callback)
{
    std::lock_guard lock(m_resultsLock);
    m_answerReady = std::move(callback);
}
