// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace support {

/// How a command ended, and what it wrote.
struct CommandResult {
    /// -1 when a signal ended the command.
    int exitStatus = -1;
    int signal = 0;
    /// Standard output, when that was a pipe or a terminal.
    std::string output;
    std::string errors;
};

/// A command that has been started. It is killed at the latest when this is destroyed.
class RunningCommand {
public:
    RunningCommand(RunningCommand&&) noexcept;
    ~RunningCommand();

    void signal(int number) const;

    /// Returns when standard output, or standard error, contains the text.
    /// @throws std::runtime_error with what there is when it ends without.
    void waitForOutput(const std::string& text);
    void waitForErrors(const std::string& text);
    /// All of standard output so far.
    const std::string& output() const;

    /// Waits for the command's end.
    CommandResult finish();

private:
    friend class Command;
    struct State;
    explicit RunningCommand(std::unique_ptr<State> state);
    void waitFor(const std::string& text, const std::string& in);

    std::unique_ptr<State> m_state;
};

/// A command to run in its own process, with the environment of the test process and the changes
/// made here, and with empty standard input. Standard output goes to a pipe by default, standard
/// error always.
class Command {
public:
    Command(std::filesystem::path program, std::vector<std::string> arguments);

    Command& variable(const std::string& name, const std::string& value);
    Command& workingDirectory(const std::filesystem::path& directory);
    /// The mode of a file applies to the command even if root runs it.
    Command& withoutFilePrivileges();
    /// Standard output is that file, opened for writing.
    Command& outputToFile(const std::filesystem::path& file);
    /// Standard output is a terminal of that many columns.
    Command& outputToTerminal(unsigned short columns);
    /// Standard output is a pipe without a reader.
    Command& outputToClosedPipe();

    /// Runs the command to its end.
    /// @throws std::system_error when it cannot be started.
    CommandResult run() const;
    RunningCommand start() const;

private:
    enum class Output { Pipe, File, Terminal, ClosedPipe };

    struct Ends;
    Ends openOutput() const;
    [[noreturn]] void becomeCommand(int output, int errors) const;

    std::filesystem::path m_program;
    std::vector<std::string> m_arguments;
    std::map<std::string, std::string> m_variables;
    std::optional<std::filesystem::path> m_workingDirectory;
    Output m_output = Output::Pipe;
    std::filesystem::path m_outputFile;
    unsigned short m_columns = 0;
    bool m_withoutFilePrivileges = false;
};

} // namespace support
