#pragma once

#include "platform/editorframing.h"

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

class CScriptEngine;

// Lets an external editor drive the engine over a Unix domain socket that
// only the user who runs Lumora can use: the socket is 0600 in a 0700
// folder, and each connection's peer is checked to be that user. Each
// message is a request for the command interpreter; its answer goes back on
// the same connection once the frame thread has run its commands. All socket
// work happens on a thread of its own, so no client can stall a frame.
class CEditorServer
{
public:
    struct SOptions
    {
        std::string m_path;
        // A longer message gets an error answer and the connection closes.
        size_t m_maxMessage = kEditorMaxMessage;
        int m_maxClients = 16;
        // Who may connect; by default the user who runs this process.
        std::function<bool(uid_t)> m_acceptPeer;
    };

    CEditorServer(CScriptEngine& engine, SOptions options);
    // Stops the thread, closes every connection and removes the socket.
    ~CEditorServer();
    CEditorServer(const CEditorServer&) = delete;
    CEditorServer& operator=(const CEditorServer&) = delete;

    // Makes the socket, replacing a stale one, and starts listening; false,
    // with a log line, when it cannot.
    bool Start();
    const std::string& Path() const { return m_options.m_path; }

    // "$XDG_RUNTIME_DIR/lumora/editor.sock", or "editor.sock" in the user
    // directory when there is no runtime directory.
    static std::string DefaultPath(const std::string& userPath);

private:
    struct SClient
    {
        int m_fd;
        uint32_t m_origin;
        std::string m_in;
        std::string m_out;
        // A request waits for its answer; nothing more is read meanwhile.
        bool m_awaiting = false;
        // Closes once its last answer is out.
        bool m_closing = false;
    };

    bool MakeFolder(const std::string& folder);
    bool RemoveStale();
    void Loop();
    void Accept();
    void DeliverAnswers();
    void ReadFrom(SClient& client);
    // Takes complete messages from the client's input while none waits.
    void TakeRequests(SClient& client);
    void WriteTo(SClient& client);
    void Drop(SClient& client);

    CScriptEngine& m_engine;
    SOptions m_options;
    int m_listen = -1;
    int m_wake = -1;
    ino_t m_inode = 0;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
    std::vector<SClient> m_clients;
    uint32_t m_nextOrigin = 1;
};
