#pragma once

#include "scene/singleton.h"

#include <QByteArray>
#include <QString>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

class CScriptEngine;

// One command being run: the reader on its XML, placed on the command's
// start element, and the writer of its answer.
class CScriptRequest
{
public:
    explicit CScriptRequest(std::string_view text);
    CScriptRequest(const CScriptRequest&) = delete;
    CScriptRequest& operator=(const CScriptRequest&) = delete;

    // The command element's name; empty when the text holds no element.
    QString Name() const { return m_reader.name().toString(); }

    // Request attributes. A missing attribute reads as empty, false or 0.
    bool Has(std::string_view name) const;
    // "\@" in the value stands for a tab.
    std::string Text(std::string_view name) const;
    bool Bool(std::string_view name) const;
    int Int(std::string_view name) const;
    float Float(std::string_view name) const;

    // The answer: one element, with attributes and children written through
    // the writer.
    void Begin(std::string_view element);
    void Attribute(std::string_view name, std::string_view value);
    void Attribute(std::string_view name, bool value);
    void Attribute(std::string_view name, int value);
    void Attribute(std::string_view name, float value);
    QXmlStreamWriter& Writer() { return m_writer; }
    // Closes every open element and hands back the text, ready for the next.
    std::string Finish();

private:
    QString Raw(std::string_view name) const;

    QByteArray m_text;
    QXmlStreamReader m_reader;
    QByteArray m_buffer;
    qsizetype m_finished = 0;
    QXmlStreamWriter m_writer;
};

// What a command handler returns: an empty text when it queued its own
// answer, else the error text. The number is 1 on success and 0 on failure.
struct SCommandResult
{
    std::string m_error;
    int m_ok = 1;

    static SCommandResult Done() { return {}; }
    static SCommandResult Fail(std::string error) { return {std::move(error), 0}; }
};

using CommandHandler = SCommandResult (*)(CScriptEngine& engine, CScriptRequest& request, void* context);

// The command interpreter: command texts arrive on any thread and wait until
// the frame thread runs them; answers and reports wait until the other side
// collects them as one XML text, "<lms>...</lms>".
//
// Texts may carry an origin number, so that a transport with several
// clients gives each its own answers: the commands of one AddCommands call
// are a request, and TakeAnswer hands back the answer of a request once all
// its commands have run. Reports made outside any command (origin 0) go with
// whichever answer is taken next.
class CScriptEngine : public CSingleton<CScriptEngine>
{
public:
    void AddCommand(std::string_view name, CommandHandler handler, void* context);
    // Forgets the commands registered with this context.
    void RemoveCommands(const void* context);

    // Queues each child element of the text's first element as a command;
    // returns how many. A text that is not well formed before the end of its
    // first element also queues an error answer.
    size_t AddCommands(std::string_view text, uint32_t origin = 0);
    // Every waiting answer, of every origin, in one "<lms>" element.
    std::string GetResults();
    // The answer of the oldest finished request of `origin`, or nothing yet.
    std::optional<std::string> TakeAnswer(uint32_t origin);
    // Drops whatever waits for `origin`, for a client that has gone.
    void ForgetOrigin(uint32_t origin);

    // Runs waiting commands; called once per update on the frame thread.
    // Stops early, leaving the rest for the next update, once `budgetMs`
    // has passed (0: no limit), so that a flood never stalls a frame.
    void Run(double budgetMs = 0.0);
    // Queues an answer text made outside a command, or by the running one.
    void AddResult(std::string text);
    // Sends the request's answer, for handlers that answer.
    void SendAnswer(CScriptRequest& request);

    size_t PendingCount();
    // Whether anyone collects answers now: reports nobody would read are
    // not made.
    void SetCollectors(int count) { m_collectors = count; }
    bool IsCollected() const { return m_collectors > 0; }
    // Called, from the thread that runs commands, when a request finishes.
    void SetAnswerReadyCallback(std::function<void()> callback);

private:
    friend class CSingleton<CScriptEngine>;
    CScriptEngine() = default;
    ~CScriptEngine() override = default;

    struct SCommand
    {
        std::string m_name;
        CommandHandler m_handler;
        void* m_context;
    };
    enum class EPending
    {
        Command,
        // The text could not be read; m_text holds why.
        Malformed,
        // The end of one AddCommands call.
        EndOfRequest,
    };
    struct SPending
    {
        EPending m_kind;
        std::string m_text;
        uint32_t m_origin;
    };
    struct SResult
    {
        std::string m_text;
        uint32_t m_origin;
        bool m_endOfRequest;
    };

    void RunPending(double budgetMs);
    void RunOne(const SPending& entry);
    void Answer(std::string text, uint32_t origin, bool endOfRequest);

    // Registered and looked up on the frame thread only.
    std::vector<SCommand> m_commands;
    std::deque<SPending> m_pending;
    std::mutex m_pendingLock;
    std::deque<SResult> m_results;
    std::mutex m_resultsLock;
    std::function<void()> m_answerReady;
    // Origins whose client has gone; never reused by a transport.
    std::unordered_set<uint32_t> m_forgotten;
    // The origin of the command that runs now; frame thread only.
    uint32_t m_running = 0;
    bool m_inRun = false;
    std::atomic<int> m_collectors{0};
};

// The element name of an answer to a text that named no command.
inline constexpr const char* kUnnamedRequest = "Request";
