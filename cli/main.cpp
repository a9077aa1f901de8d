// brisko-cli: drives a device's debug link from a computer.
//   brisko-cli --device IP[:PORT] --token T push DIR|run|stop|pause|resume|log [-f]|screenshot FILE|info
//   brisko-cli api …      the per-run script API, for shell scripts running on the device

#include "cli/commands.h"
#include "daemon/script_api/api_client.h"

#include <csignal>
#include <cstdio>

using namespace brisko::cli;

namespace {

constexpr char kUsageText[] =
    "usage: brisko-cli --device IP[:PORT] --token TOKEN COMMAND\n"
    "  push DIR          replace the device's project with DIR\n"
    "  run | stop | pause | resume\n"
    "  log [-f]          print the script log (-f: keep following it)\n"
    "  screenshot FILE   save the device's screen as PNG\n"
    "  info              the device's state and entry point\n"
    "       brisko-cli api ARGS…   the script API (inside a running script)\n"
    "The token is in DOCUMENTS/.floatball.token on the device while debug mode is on.\n";

int usage() {
    std::fputs(kUsageText, stderr);
    return kUsage;
}

int runCommand(LinkClient& client, const QStringList& words) {
    const QString command = words.value(0);
    if (command == u"push" && words.size() == 2) return pushProject(client, words[1]);
    if (QStringList{"run", "stop", "pause", "resume"}.contains(command) && words.size() == 1)
        return sendCommand(client, command);
    if (command == u"log" && (words.size() == 1 || (words.size() == 2 && words[1] == u"-f")))
        return printLog(client, words.size() == 2);
    if (command == u"screenshot" && words.size() == 2) return saveScreenshot(client, words[1]);
    if (command == u"info" && words.size() == 1) return printInfo(client);
    return usage();
}

} // namespace

int main(int argc, char** argv) {
    // A device that stops reading an upload is a failed write to report, not a reason to die.
    std::signal(SIGPIPE, SIG_IGN);
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words << QString::fromLocal8Bit(argv[i]);
    if (words.value(0) == u"api") return brisko::scriptapi::runScriptApiCommand(words.mid(1));
    QString device;
    QByteArray token = qgetenv("BRISKO_TOKEN");
    while (words.size() >= 2 && words[0].startsWith(u"--")) {
        if (words[0] == u"--device")
            device = words[1];
        else if (words[0] == u"--token")
            token = words[1].toUtf8();
        else
            return usage();
        words = words.mid(2);
    }
    LinkClient client(device, token);
    if (!client.isValid() || token.isEmpty() || words.isEmpty()) return usage();
    return runCommand(client, words);
}
