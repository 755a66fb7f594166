// SPDX-License-Identifier: Apache-2.0
#include "support/Command.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <linux/capability.h>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>
#include <utility>

namespace support {
namespace {

constexpr int kCannotStart = 127;

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

class Descriptor {
public:
    explicit Descriptor(int number = -1) : m_number(number) {}
    Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_number, other.m_number);
        return *this;
    }
    ~Descriptor() { close(); }

    int number() const { return m_number; }
    void close() {
        if (m_number >= 0) {
            ::close(std::exchange(m_number, -1));
        }
    }

private:
    int m_number;
};

struct Pipe {
    Descriptor reading;
    Descriptor writing;
};

Pipe makePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        fail("pipe2");
    }
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

Pipe makeTerminal(unsigned short columns) {
    termios raw{};
    ::cfmakeraw(&raw);
    winsize size{};
    size.ws_col = columns;
    size.ws_row = 25;
    int master = -1;
    int slave = -1;
    if (::openpty(&master, &slave, nullptr, &raw, &size) != 0) {
        fail("openpty");
    }
    ::fcntl(master, F_SETFD, FD_CLOEXEC);
    ::fcntl(slave, F_SETFD, FD_CLOEXEC);
    return {Descriptor(master), Descriptor(slave)};
}

/// Appends what can be read. Returns false at the end, which a terminal reports as EIO.
bool readSome(int descriptor, std::string& text) {
    std::array<char, 65536> buffer{};
    const ssize_t size = ::read(descriptor, buffer.data(), buffer.size());
    if (size > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return size > 0 || (size < 0 && errno == EINTR);
}

/// Reads from the pipe that is ready first. Returns false at the end of both.
bool readEither(Descriptor& output, std::string& outputText, Descriptor& errors,
                std::string& errorText) {
    std::array<pollfd, 2> ready = {pollfd{output.number(), POLLIN, 0},
                                   pollfd{errors.number(), POLLIN, 0}};
    if (::poll(ready.data(), ready.size(), -1) < 0 && errno != EINTR) {
        fail("poll");
    }
    if (ready[0].revents != 0 && !readSome(output.number(), outputText)) {
        output.close();
    }
    if (ready[1].revents != 0 && !readSome(errors.number(), errorText)) {
        errors.close();
    }
    return output.number() >= 0 || errors.number() >= 0;
}

void waitFor(pid_t child, CommandResult& result) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            fail("waitpid");
        }
    }
    if (WIFEXITED(status)) {
        result.exitStatus = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
        result.signal = WTERMSIG(status);
    }
}

} // namespace

/// The test keeps `reading`; `writing` becomes the command's standard output.
struct Command::Ends {
    Descriptor reading;
    Descriptor writing;
};

Command::Command(std::filesystem::path program, std::vector<std::string> arguments)
    : m_program(std::move(program)), m_arguments(std::move(arguments)) {}

Command& Command::variable(const std::string& name, const std::string& value) {
    m_variables[name] = value;
    return *this;
}

Command& Command::workingDirectory(const std::filesystem::path& directory) {
    m_workingDirectory = directory;
    return *this;
}

Command& Command::withoutFilePrivileges() {
    m_withoutFilePrivileges = true;
    return *this;
}

Command& Command::outputToFile(const std::filesystem::path& file) {
    m_output = Output::File;
    m_outputFile = file;
    return *this;
}

Command& Command::outputToTerminal(unsigned short columns) {
    m_output = Output::Terminal;
    m_columns = columns;
    return *this;
}

Command& Command::outputToClosedPipe() {
    m_output = Output::ClosedPipe;
    return *this;
}

Command::Ends Command::openOutput() const {
    if (m_output == Output::File) {
        const int file =
            ::open(m_outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (file < 0) {
            fail("open");
        }
        return {Descriptor(), Descriptor(file)};
    }
    Pipe pipe = m_output == Output::Terminal ? makeTerminal(m_columns) : makePipe();
    if (m_output == Output::ClosedPipe) {
        pipe.reading.close();
    }
    return {std::move(pipe.reading), std::move(pipe.writing)};
}

void Command::becomeCommand(int output, int errors) const {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    // Shells start background jobs with the last two ignored.
    for (const int number : {SIGPIPE, SIGHUP, SIGINT, SIGQUIT}) {
        ::signal(number, SIG_DFL);
    }
    const int input = ::open("/dev/null", O_RDONLY);
    ::dup2(input, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(errors, STDERR_FILENO);
    for (const auto& [name, value] : m_variables) {
        ::setenv(name.c_str(), value.c_str(), 1);
    }
    if (m_withoutFilePrivileges) {
        // Fails for other users, who do not have the capability anyway.
        ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0);
        ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0);
    }
    std::string program = m_program.string();
    std::vector<char*> words = {program.data()};
    std::vector<std::string> arguments = m_arguments;
    for (std::string& argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);
    if (!m_workingDirectory || ::chdir(m_workingDirectory->c_str()) == 0) {
        ::execv(program.c_str(), words.data());
    }
    std::_Exit(kCannotStart);
}

struct RunningCommand::State {
    pid_t child = -1;
    Descriptor output;
    Descriptor errors;
    CommandResult result;
    /// The ends of the texts that were waited for.
    std::size_t afterOutput = 0;
    std::size_t afterErrors = 0;

    bool read() { return readEither(output, result.output, errors, result.errors); }
    void end() { support::waitFor(std::exchange(child, -1), result); }
};

RunningCommand::RunningCommand(std::unique_ptr<State> state) : m_state(std::move(state)) {}

RunningCommand::RunningCommand(RunningCommand&&) noexcept = default;

RunningCommand::~RunningCommand() {
    if (m_state && m_state->child >= 0) {
        signal(SIGKILL);
        ::waitpid(m_state->child, nullptr, 0);
    }
}

void RunningCommand::signal(int number) const {
    ::kill(m_state->child, number);
}

void RunningCommand::waitForOutput(const std::string& text) {
    waitFor(text, m_state->result.output, m_state->afterOutput);
}

void RunningCommand::waitForErrors(const std::string& text) {
    waitFor(text, m_state->result.errors, m_state->afterErrors);
}

void RunningCommand::waitFor(const std::string& text, const std::string& in, std::size_t& after) {
    std::size_t found = 0;
    while ((found = in.find(text, after)) == std::string::npos) {
        if (!m_state->read()) {
            throw std::runtime_error("no \"" + text + "\" in:\n" + m_state->result.output +
                                     m_state->result.errors);
        }
    }
    after = found + text.size();
}

const std::string& RunningCommand::output() const {
    return m_state->result.output;
}

CommandResult RunningCommand::finish() {
    while (m_state->read()) {
    }
    m_state->end();
    if (m_state->result.exitStatus == kCannotStart) {
        throw std::system_error(ENOEXEC, std::generic_category(), "execv");
    }
    return m_state->result;
}

RunningCommand Command::start() const {
    Ends output = openOutput();
    Pipe errors = makePipe();
    const pid_t child = ::fork();
    if (child < 0) {
        fail("fork");
    }
    if (child == 0) {
        becomeCommand(output.writing.number(), errors.writing.number());
    }
    auto state = std::make_unique<RunningCommand::State>();
    state->child = child;
    state->output = std::move(output.reading);
    state->errors = std::move(errors.reading);
    return RunningCommand(std::move(state));
}

CommandResult Command::run() const {
    return start().finish();
}

} // namespace support
