// bench-large DIRECTORY MEBIBYTES: writes valid files of that size and prints, as JSON, the CPU
// time and the peak memory of each call that reads them. Each call runs in a new process. Run it by
// hand; docs/reliability.md and SECURITY.md have the figures for 256.

#include "Environment.h"
#include "generator/Deployment.h"

#include <SysConfReader.h>
#include <SysConfReaderImpl.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Quarncommon::SysConfReader;
using Quarncommon::SysConfReaderImpl;
namespace fs = std::filesystem;

/// CPU time of this process so far, in seconds.
double processorTime() {
    timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

struct Call {
    const char* name;
    void (*run)();
};

const Call kQueries[] = {
    {"getLocalServiceIP", [] { SysConfReader::Instance()->getLocalServiceIP(); }},
    {"getLocalSouthIP", [] { SysConfReader::Instance()->getLocalSouthIP(); }},
    {"getSourceNodeId",
     [] {
         std::string id;
         SysConfReader::Instance()->getSourceNodeId(id);
     }},
    {"getAllFloatIP",
     [] {
         std::map<std::string, std::set<std::string>> addresses;
         SysConfReader::Instance()->getAllFloatIP({"service"}, addresses);
     }},
    {"SysConfReaderImpl::Reload", [] { SysConfReaderImpl::Instance()->Reload(); }},
};

const Call kLoad[] = {{"SysConfReader::Reload", [] { SysConfReader::Instance()->Reload(); }}};

/// Measures the call in a child process whose singletons were loaded without any file.
void measure(const char* file, const Call& call, const fs::path& directory) {
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child != 0) {
        int status = 0;
        ::waitpid(child, &status, 0);
        if (status != 0) {
            std::printf("{\"file\": \"%s\", \"call\": \"%s\", \"failed\": %d}\n", file, call.name,
                        status);
        }
        return;
    }
    bench::enterDeployment(directory);
    {
        const bench::HiddenVariable config("APP_CONF_FILE");
        const bench::HiddenVariable nodes("APP_ROOT");
        const bench::HiddenVariable manager("TOLM_ROOT");
        SysConfReader::Instance();
    }
    const long base = bench::peakMemory();
    const double start = processorTime();
    call.run();
    const double took = processorTime() - start;
    std::printf("{\"file\": \"%s\", \"call\": \"%s\", \"seconds\": %.2f, \"mebibytes\": %ld}\n",
                file, call.name, took, (bench::peakMemory() - base) >> 20);
    std::fflush(stdout);
    std::_Exit(EXIT_SUCCESS);
}

/// Writes a file with an old time stamp, because the library reads a new file twice.
void write(const fs::path& path, const std::string& start, const std::string& part,
           std::size_t size, const std::string& end) {
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file << start;
    for (std::size_t length = start.size() + end.size(); length < size; length += part.size()) {
        file << part;
    }
    file << end;
    file.close();
    fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(1));
}

void measureNodes(const fs::path& directory, std::size_t size) {
    constexpr std::size_t kBytesOfANode = 1280;
    generator::writeDeployment(directory, {.nodes = static_cast<unsigned>(size / kBytesOfANode),
                                           .layout = generator::Layout::Compact});
    for (const Call& call : kQueries) {
        measure("node lists of ordinary nodes", call, directory);
    }
}

void measureNumbers(const fs::path& directory, std::size_t size) {
    for (const char* list : {generator::kNodeListFile, generator::kManagerNodeListFile}) {
        write(directory / list, R"({"nodeList":{"n":{"numbers":[0)", ",0", size, "]}}}");
    }
    for (const Call& call : kQueries) {
        measure("node lists of numbers of one digit", call, directory);
    }
}

void measureAppConfig(const fs::path& directory, std::size_t size) {
    for (const char* list : {generator::kNodeListFile, generator::kManagerNodeListFile}) {
        write(directory / list, "{}", "", 0, "");
    }
    write(directory / generator::kAppConfigFile, R"({"processes":{},"more":[0)",
          ",{\"a member\":\"a text of forty characters, more or less\"}", size, "]}");
    measure("app config of small objects", kLoad[0], directory);
    constexpr std::size_t kPart = 16; // the full size needs more memory than most machines have
    write(directory / generator::kAppConfigFile, R"({"processes":{},"more":[0)", ",0", size / kPart,
          "]}");
    measure("app config of numbers of one digit, a sixteenth of the size", kLoad[0], directory);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s DIRECTORY MEBIBYTES\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        const std::size_t size = std::stoul(argv[2]) << 20U;
        measureNodes(argv[1], size);
        measureNumbers(argv[1], size);
        measureAppConfig(argv[1], size);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
