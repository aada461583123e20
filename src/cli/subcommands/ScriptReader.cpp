#include "cli/subcommands/ScriptReader.h"

#include "cli/terminal/Terminal.h"
#include "platform/FileHandle.h"
#include "platform/UniqueDescriptor.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace velloria::ScriptReader
{

namespace
{

/// More than a million commands; a device that never ends must not fill the memory.
constexpr qsizetype kMostBytes = qsizetype{256} << 20;

/// Reads to the end, of a pipe as well.
MaybeError readAll(int descriptor, QByteArray& bytes)
{
    std::array<char, 65536> buffer;
    while (true) {
        if (Terminal::isInterrupted())
            return Error::cancelled();
        if (bytes.size() > kMostBytes)
            return Error{Error::Code::failed,
                         QStringLiteral("The commands cannot be read: there are more than 256 MB of them.")};
        const ssize_t numRead = ::read(descriptor, buffer.data(), buffer.size());
        if (numRead == 0)
            return std::nullopt;
        if (numRead > 0)
            bytes.append(buffer.data(), numRead);
        else if (errno != EINTR)
            return Error::fromErrno(QStringLiteral("The commands cannot be read"), errno);
    }
}

MaybeError readScript(const QByteArray& path, QByteArray& bytes)
{
    if (path == "-")
        return readAll(STDIN_FILENO, bytes);
    const UniqueDescriptor file(::open(path.constData(), O_RDONLY | O_CLOEXEC));
    if (!file)
        return Error::fromErrno(QStringLiteral("The commands cannot be read"), errno);
    return readAll(file.get(), bytes);
}

QByteArrayView withoutComment(QByteArrayView line)
{
    bool isQuoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const bool isFirst = i == 0 || line[i - 1] == ' ' || line[i - 1] == '\t';
        if (line[i] == '"')
            isQuoted = !isQuoted;
        else if (isQuoted && line[i] == '\\')
            ++i;
        else if (line[i] == '#' && isFirst && !isQuoted)
            return line.first(i);
    }
    return line;
}

} // namespace

std::vector<QString> commandsInText(const QByteArray& text)
{
    std::vector<QString> commands;
    QByteArrayView rest(text);
    if (rest.startsWith("\xEF\xBB\xBF"))
        rest = rest.sliced(3);
    while (!rest.isEmpty()) {
        const qsizetype end = rest.indexOf('\n');
        const QByteArrayView line = end < 0 ? rest : rest.first(end);
        rest = end < 0 ? QByteArrayView() : rest.sliced(end + 1);
        const QByteArrayView command = withoutComment(line).trimmed();
        if (!command.isEmpty())
            commands.push_back(ScriptText::fromBytes(command));
    }
    return commands;
}

bool read(const Arguments& arguments, std::filesystem::path& input, std::vector<QString>& commands)
{
    bool hasInput = false;
    for (const Arguments::Item& item : arguments.items()) {
        if (item.option.isEmpty() && !hasInput) {
            input = item.value.toStdString();
            hasInput = true;
        } else if (item.option.isEmpty()) {
            commands.push_back(ScriptText::fromBytes(item.value));
        } else if (item.option == "--commands") {
            QByteArray script;
            if (const MaybeError error = readScript(item.value, script)) {
                Terminal::sayError(*error, item.value.toStdString());
                return false;
            }
            for (QString& command : commandsInText(script))
                commands.push_back(std::move(command));
        }
    }
    return true;
}

} // namespace velloria::ScriptReader
