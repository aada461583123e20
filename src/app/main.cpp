#include "app/desktop/CommandLine.h"
#include "app/desktop/SingleInstance.h"
#include "app/desktop/TerminationSignals.h"
#include "app/look/Translations.h"
#include "app/preferences/Settings.h"
#include "app/shell/Application.h"
#include "platform/LargeBlocks.h"
#include "platform/hardware/PulseHardware.h"

#include <QApplication>
#include <QIcon>
#include <clocale>
#include <cstdio>

namespace
{

using velloria::CommandLine;

constexpr int kWrongUsage = 2;

void setIdentity()
{
    QCoreApplication::setOrganizationName(QStringLiteral("Velloria"));
    QCoreApplication::setApplicationName(QStringLiteral("Velloria"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELLORIA_VERSION));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Velloria"));
    QGuiApplication::setDesktopFileName(QStringLiteral("velloria"));
}

void print(std::FILE* file, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), file);
}

/// What needs no display.
int runWithoutWindows(const CommandLine& line, int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    velloria::installTranslations(application);
    switch (line.action) {
    case CommandLine::Action::help:
        print(stdout, CommandLine::helpText());
        return 0;
    case CommandLine::Action::version:
        print(stdout, CommandLine::versionText());
        return 0;
    case CommandLine::Action::manual:
        print(stdout, CommandLine::manualText());
        return 0;
    default:
        print(stderr, line.problemText() + CommandLine::helpText());
        return kWrongUsage;
    }
}

int runEditor(const CommandLine& line, char** argv)
{
    // The options are ours alone.
    int argc = 1;
    QApplication application(argc, argv);
    // Files hold numbers with a decimal point, whatever the locale says.
    std::setlocale(LC_NUMERIC, "C");
    velloria::installTranslations(application);
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/velloria.svg")));
    velloria::Settings::registerDefaults();
    // A server that hangs shall not make a window stand still for longer than a person forgives.
    velloria::AudioHardware::setCurrent(
        std::make_shared<velloria::PulseHardware>(std::chrono::milliseconds(750)));

    velloria::StartRequest request;
    request.files = line.files;
    request.workingFolder = line.workingFolder;
    request.wantsNewDocument = line.wantsNewDocument;
    request.activationToken = qgetenv("XDG_ACTIVATION_TOKEN");
    velloria::SingleInstance instance;
    if (instance.start(request) == velloria::SingleInstance::Role::handedOver)
        return 0;

    velloria::Application editor;
    QObject::connect(&instance, &velloria::SingleInstance::requestReceived, &editor,
                     &velloria::Application::serve);
    QObject::connect(&editor, &velloria::Application::finished, &application, &QCoreApplication::quit,
                     Qt::QueuedConnection);
    const velloria::TerminationSignals signals;
    QObject::connect(&signals, &velloria::TerminationSignals::received, &editor,
                     &velloria::Application::endAtOnce);
    editor.serve(request);
    editor.offerRecovery();
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    velloria::giveLargeBlocksBack();
    setIdentity();
    std::error_code error;
    const CommandLine line = CommandLine::parse(argc, argv, std::filesystem::current_path(error));
    return line.action == CommandLine::Action::run ? runEditor(line, argv)
                                                   : runWithoutWindows(line, argc, argv);
}
