// lumora-cmd: sends one request to a Lumora started with --editor and prints
// its answer, so that people and scripts can drive the engine.

#include "platform/editorclient.h"
#include "platform/editorserver.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <iterator>
#include <string>

namespace {

constexpr const char* kUsage =
    "Usage: lumora-cmd [--socket <path>] [--timeout <seconds>] [request]\n"
    "\n"
    "Sends the request (or, without one, what stdin holds) to the Lumora run\n"
    "started with --editor, and prints its answer. A request is XML:\n"
    "  lumora-cmd '<lms><NodeTypesGet/></lms>'\n"
    "Commands without the <lms> wrapper are wrapped:\n"
    "  lumora-cmd '<PortSet Name=\"Clear1.Color\" Value=\"1,0,0,1\"/>'\n"
    "Exit codes: 0 answered, 1 no answer (no Lumora listening, or a timeout),\n"
    "2 bad options, 3 the answer holds an Error.\n";

// Where Lumora's user files live when there is no runtime directory.
std::string UserPath()
{
    const char* config = getenv("XDG_CONFIG_HOME");
    if (config && config[0] == '/')
        return std::string(config) + "/lumora";
    const char* home = getenv("HOME");
    return std::string(home ? home : "") + "/.config/lumora";
}

} // namespace

int main(int argc, char** argv)
{
    std::string socketPath, request;
    double timeout = 30.0;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if ((argument == "--socket" || argument == "--timeout") && i + 1 < argc) {
            const std::string value = argv[++i];
            if (argument == "--socket")
                socketPath = value;
            else if (char* end = nullptr; (timeout = strtod(value.c_str(), &end)) <= 0.0 || *end) {
                fprintf(stderr, "lumora-cmd: bad value \"%s\" for --timeout\n\n%s", value.c_str(), kUsage);
                return 2;
            }
        } else if (argument == "-h" || argument == "--help") {
            fputs(kUsage, stdout);
            return 0;
        } else if (request.empty() && !argument.starts_with("--")) {
            request = argument;
        } else {
            fprintf(stderr, "lumora-cmd: unexpected argument \"%s\"\n\n%s", argument.c_str(), kUsage);
            return 2;
        }
    }
    if (request.empty())
        request.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
    if (request.find("<lms") == std::string::npos)
        request = "<lms>" + request + "</lms>";
    if (socketPath.empty())
        socketPath = CEditorServer::DefaultPath(UserPath());

    CEditorClient client;
    std::string error, answer;
    if (!client.Connect(socketPath, error) || !client.Send(request) ||
        !client.Receive(answer, int(timeout * 1000.0), error)) {
        fprintf(stderr, "lumora-cmd: %s\n", error.empty() ? "the connection closed" : error.c_str());
        return 1;
    }
    printf("%s\n", answer.c_str());
    return answer.find(" Error=\"") == std::string::npos ? 0 : 3;
}
