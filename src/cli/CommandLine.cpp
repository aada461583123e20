#include "cli/CommandLine.h"

#include "cli/ArgumentParser.h"
#include "cli/ManPage.h"
#include "cli/subcommands/HelpText.h"
#include "cli/terminal/OutputSink.h"
#include "cli/terminal/Terminal.h"
#include "platform/Log.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace velloria
{

namespace
{

/// A descriptor that was closed by whoever started the program must not be given to the first file opened.
void occupyStandardDescriptors()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(descriptor, F_GETFD) != -1)
            continue;
        // Writing to it fails, as it would to a closed one.
        if (::open("/dev/null", O_RDONLY) != descriptor)
            break;
    }
}

/// A script may copy from thousands of files, each of which stays open while clips read it.
void allowManyOpenFiles()
{
    struct rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

void dropMessage(QtMsgType, const QMessageLogContext&, const QString&) {}

/// Standard error belongs to the person: one line says what failed. VELLORIA_LOG=1 shows what the libraries
/// say.
void quietLogs()
{
    if (qEnvironmentVariableIntValue("VELLORIA_LOG") != 0)
        return;
    setLogEnabled(false);
    qInstallMessageHandler(dropMessage);
}

ExitStatus print(const QString& text)
{
    const std::unique_ptr<OutputSink> output = OutputSink::forStandardOutput();
    if (const MaybeError error = output->write(text.toUtf8())) {
        Terminal::sayError(*error);
        return ExitStatus::failed;
    }
    return ExitStatus::done;
}

ExitStatus answer(const ParsedCommandLine& parsed)
{
    switch (parsed.request) {
    case ParsedCommandLine::Request::help:
        return print(parsed.subcommand ? HelpText::ofSubcommand(*parsed.subcommand) : HelpText::ofProgram());
    case ParsedCommandLine::Request::version:
        return print(HelpText::version() + u'\n');
    case ParsedCommandLine::Request::manPage:
        return print(ManPage::ofProgram());
    case ParsedCommandLine::Request::run:
        break;
    }
    return parsed.subcommand->run(parsed.arguments);
}

} // namespace

int runCommandLine(int argc, char** argv)
{
    occupyStandardDescriptors();
    Terminal::catchSignals();
    allowManyOpenFiles();
    quietLogs();

    std::vector<QByteArray> words;
    for (int i = 1; i < argc; ++i)
        words.emplace_back(argv[i]);
    QString error;
    const std::optional<ParsedCommandLine> parsed = parseCommandLine(words, &error);
    if (!parsed) {
        Terminal::say(error);
        return static_cast<int>(ExitStatus::wrongArguments);
    }
    return static_cast<int>(answer(*parsed));
}

} // namespace velloria
