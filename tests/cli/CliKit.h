#pragma once

#include "formats/kit/FileTestKit.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cstdlib>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace velloria::test
{

/// How a program ended and what it wrote.
struct Outcome {
    int status = -1; ///< 1000 + the signal when one ended it
    QByteArray output;
    QByteArray errors;

    QList<QByteArray> errorLines() const
    {
        QList<QByteArray> lines = errors.split('\n');
        lines.removeLast();
        return lines;
    }
};

/// Runs the program velloria-cli itself, in a folder of its own.
class CliTest : public FileTest
{
protected:
    /// Qt does not remove names that are no text.
    void TearDown() override { std::filesystem::remove_all(path("")); }

    static std::string program()
    {
        const char* path = VELLORIA_CLI;
        return path ? path : "velloria-cli";
    }

    /// Arguments are bytes; relative paths are in the test's folder. Standard input is empty.
    Outcome cli(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> words = {program()};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return spawn(words);
    }

    /// A shell script in the test's folder, with $CLI for the program.
    Outcome shell(const std::string& script) const
    {
        return spawn({"/bin/bash", "-c", "CLI=" + program() + "; " + script});
    }

    /// Expects a failure that is told in one line which holds `words`.
    void expectFailure(const std::vector<std::string>& arguments, int status, const char* words) const
    {
        const Outcome outcome = cli(arguments);
        SCOPED_TRACE(outcome.errors.toStdString());
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(outcome.errorLines().size(), 1);
        EXPECT_TRUE(outcome.errors.startsWith("velloria-cli: "));
        EXPECT_TRUE(outcome.errors.contains(words)) << words;
        EXPECT_TRUE(outcome.output.isEmpty());
    }

    QJsonObject infoOf(const std::string& name) const
    {
        const Outcome outcome = cli({"info", "--json", "--", name});
        EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
        return QJsonDocument::fromJson(outcome.output).object();
    }

    /// The samples of a file, all channels together, as this program reads them.
    std::vector<float> decoded(const std::string& name) const
    {
        const Outcome outcome = cli({"decode", name});
        EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
        return floatsOf(outcome.output);
    }

    static std::vector<float> floatsOf(const QByteArray& bytes)
    {
        std::vector<float> floats(static_cast<size_t>(bytes.size()) / 4);
        std::memcpy(floats.data(), bytes.constData(), floats.size() * 4);
        return floats;
    }

    /// A 16-bit file of noise.
    void makeNoise(const std::string& name, int64_t numFrames, int numChannels = 2) const
    {
        makeFile(name, wave({1, numChannels, 44100, 16}, noiseBytes(numFrames * numChannels * 2, 1)));
    }

    /// Names in the test's folder, sorted, but for what tests put there for themselves.
    std::vector<std::string> fileNames() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path("")))
            names.push_back(entry.path().filename().native());
        std::erase_if(names, [](const std::string& name) { return name.starts_with(".outcome"); });
        std::sort(names.begin(), names.end());
        return names;
    }

    /// Scratch files of any process of this test program.
    static std::vector<std::filesystem::path> scratchFiles()
    {
        const std::filesystem::path folder = std::filesystem::path(std::getenv("TMPDIR")) / "Velloria_Temp";
        std::vector<std::filesystem::path> files;
        if (std::filesystem::exists(folder))
            for (const auto& entry : std::filesystem::directory_iterator(folder))
                files.push_back(entry.path());
        return files;
    }
    /// Without the notes beside them.
    static std::vector<std::filesystem::path> scratchSounds()
    {
        std::vector<std::filesystem::path> files = scratchFiles();
        std::erase_if(files, [](const std::filesystem::path& file) { return file.extension() != ".caf"; });
        return files;
    }

private:
    Outcome spawn(const std::vector<std::string>& words) const
    {
        const std::string output = path(".outcome-out").native();
        const std::string errors = path(".outcome-err").native();
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addchdir_np(&actions, path("").c_str());
        std::vector<char*> arguments;
        for (const std::string& word : words)
            arguments.push_back(const_cast<char*>(word.c_str()));
        arguments.push_back(nullptr);
        pid_t child = 0;
        EXPECT_EQ(posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        int status = 0;
        ::waitpid(child, &status, 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status), bytesOf(".outcome-out"),
                bytesOf(".outcome-err")};
    }
};

} // namespace velloria::test
