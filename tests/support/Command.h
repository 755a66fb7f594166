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
    std::string output;
    std::string errors;
};

/// The destructor kills the command.
class RunningCommand {
public:
    RunningCommand(RunningCommand&&) noexcept;
    ~RunningCommand();

    void signal(int number) const;

    /// Waits for the text to follow that of the last wait.
    /// @throws std::runtime_error with the output, if the command ends without it.
    void waitForOutput(const std::string& text);
    void waitForErrors(const std::string& text);
    const std::string& output() const;

    CommandResult finish();

private:
    friend class Command;
    struct State;
    explicit RunningCommand(std::unique_ptr<State> state);
    void waitFor(const std::string& text, const std::string& in, std::size_t& after);

    std::unique_ptr<State> m_state;
};

/// A command to run with empty standard input, in the environment of the test process with the
/// changes made here. Its outputs go to pipes by default.
class Command {
public:
    Command(std::filesystem::path program, std::vector<std::string> arguments);

    Command& variable(const std::string& name, const std::string& value);
    Command& workingDirectory(const std::filesystem::path& directory);
    /// Modes of files then apply even if root runs the command.
    Command& withoutFilePrivileges();
    Command& outputToFile(const std::filesystem::path& file);
    Command& outputToTerminal(unsigned short columns);
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
