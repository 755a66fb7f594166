// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace support {

struct CommandResult {
    /// -1 if a signal ended the command.
    int exitStatus = -1;
    int signal = 0;
    /// Standard output, if it was a pipe or a terminal.
    std::string output;
    std::string errors;
};

/// A command that has been started. The destructor kills it.
class RunningCommand {
public:
    RunningCommand(RunningCommand&&) noexcept;
    ~RunningCommand();

    void signal(int number) const;

    /// Waits until standard output, or standard error, contains the text.
    /// @throws std::runtime_error with the output, if the command ends without it.
    void waitForOutput(const std::string& text);
    void waitForErrors(const std::string& text);
    /// All of standard output so far.
    const std::string& output() const;

    CommandResult finish();

private:
    friend class Command;
    struct State;
    explicit RunningCommand(std::unique_ptr<State> state);
    void waitFor(const std::string& text, const std::string& in);

    std::unique_ptr<State> m_state;
};

/// A command to run in its own process, with empty standard input. Its environment is that of the
/// test process with the changes made here. Standard error goes to a pipe; so does standard output
/// by default.
class Command {
public:
    Command(std::filesystem::path program, std::vector<std::string> arguments);

    Command& variable(const std::string& name, const std::string& value);
    Command& workingDirectory(const std::filesystem::path& directory);
    /// The modes of files apply to the command even if root runs it.
    Command& withoutFilePrivileges();
    /// Standard output is that file, opened for writing.
    Command& outputToFile(const std::filesystem::path& file);
    /// Standard output is a terminal of that many columns.
    Command& outputToTerminal(unsigned short columns);
    /// Standard output is a pipe without a reader.
    Command& outputToClosedPipe();

    /// @throws std::system_error if the command cannot be started.
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
