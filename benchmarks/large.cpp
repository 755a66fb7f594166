// SPDX-License-Identifier: Apache-2.0
// bench-large DIRECTORY MEBIBYTES: writes valid files of that size and prints, as JSON, the CPU
// time and the peak memory of each call that reads them. Each call runs in a new process. Run it by
// hand, with 16 for the figures of docs/security-model.md and 256 for those of docs/reliability.md.

#include "Environment.h"
#include "generator/Deployment.h"

#include <SysConfReader.h>
#include <SysConfReaderImpl.h>

#include <array>
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
    {"getLocalNorthIP", [] { SysConfReader::Instance()->getLocalNorthIP(); }},
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

/// Runs in a child process, with singletons that have loaded no file.
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

/// The file gets an old time stamp, because the library reads a new one twice.
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

void writeLists(const fs::path& directory, const std::string& start, const std::string& part,
                std::size_t size, const std::string& end) {
    for (const char* list : {generator::kNodeListFile, generator::kManagerNodeListFile}) {
        write(directory / list, start, part, size, end);
    }
}

struct List {
    const char* name;
    std::string start;
    std::string part;
    std::string end;
};

const std::string kAddresses = R"({"nodeList":{"":{"IPAddresses":[)";

const List kLists[] = {
    {"numbers of one digit", R"({"nodeList":{"n":{"numbers":[0)", ",0", "]}}}"},
    {"tags of one digit", kAddresses + R"({"usage":[0)", ",0", "]}]}}}"},
    {"tags that are doubles", kAddresses + R"({"usage":[0)", ",1e300", "]}]}}}"},
    {"members without a name", R"({"nodeList":{"":0)", R"(,"":0)", "}}"},
    {"members out of order", R"({"nodeList":{"n":{"z":0)", R"(,"y":0,"x":0)", "}}}"},
    {"numbers that are hard to round", R"({"nodeList":{"n":{"numbers":[0)",
     ",7.2057594037927933e+16,9007199254740993.0000000000000000001", "]}}}"},
    {"numbers of 20 digits", R"({"nodeList":{"n":{"numbers":[0)", ",1.7976931348623158079e308",
     "]}}}"},
    {"texts that are not UTF-8", R"({"nodeList":{"n":{"texts":[0)", ",\"a\xff\"", "]}}}"},
    {"numbers out of range", R"({"nodeList":{"n":{"numbers":[0)", ",1e400", "]}}}"},
    {"halves of surrogate pairs", R"({"nodeList":{"n":{"texts":[0)", R"(,"\ud800")", "]}}}"},
};

void measureLists(const fs::path& directory, std::size_t size) {
    for (const List& list : kLists) {
        writeLists(directory, list.start, list.part, size, list.end);
        for (const Call& call : kQueries) {
            measure(list.name, call, directory);
        }
    }
}

/// A list with as many nodes as possible, whose ids are in no order.
void measureShuffledNodes(const fs::path& directory, std::size_t size) {
    constexpr std::size_t kBytesOfANode = 12;
    constexpr unsigned int kIds = 1U << 24U;
    std::string nodes = R"({"nodeList":{)";
    for (unsigned int i = 0; nodes.size() + kBytesOfANode < size; ++i) {
        std::array<char, kBytesOfANode + 2> node{};
        std::snprintf(node.data(), node.size(), "\"%06x\":{},", i * 2654435761U % kIds);
        nodes += node.data();
    }
    writeLists(directory, nodes + R"("n":{}}})", "", 0, "");
    for (const Call& call : kQueries) {
        measure("nodes out of order", call, directory);
    }
}

/// Lists with one entry: half of it is members or a long address, the other half tags.
void measureTags(const fs::path& directory, std::size_t size) {
    const std::string tags = R"("maintenance","service","southbound","northbound",)";
    const std::string end = R"("x"]}]}}})";
    std::string members;
    for (std::size_t length = 0; length < size / 2; length += 5) {
        members += R"("":0,)";
    }
    writeLists(directory, kAddresses + "{" + members + R"("IP":"A","usage":[)", tags, size, end);
    for (const Call& call : kQueries) {
        measure("an entry of members and tags", call, directory);
    }
    const std::string address(size / 2, 'A');
    writeLists(directory, kAddresses + R"({"IP":")" + address + R"(","usage":[)", tags, size, end);
    for (const Call& call : kQueries) {
        measure("an entry of a long address and tags", call, directory);
    }
}

void measureAppConfig(const fs::path& directory, std::size_t size) {
    writeLists(directory, "{}", "", 0, "");
    const std::string object = R"(,{"a member":"a text of forty characters, more or less"})";
    const fs::path config = directory / generator::kAppConfigFile;
    write(config, R"({"processes":{},"ignored":[0)", object, size, "]}");
    measure("app config of ignored objects", kLoad[0], directory);
    write(config, R"({"processes":{},"ignored":[0)", ",0", size, "]}");
    measure("app config of ignored numbers of one digit", kLoad[0], directory);
    constexpr std::size_t kPart = 16; // most machines do not have enough memory for more
    write(config, R"({"databases":{"d":[0)", object, size / kPart, "]}}");
    measure("app config of a database of small objects, a sixteenth of the size", kLoad[0],
            directory);
    write(config, R"({"databases":{"d":[0)", ",0", size / kPart, "]}}");
    measure("app config of a database of numbers of one digit, a sixteenth of the size", kLoad[0],
            directory);
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
        measureLists(argv[1], size);
        measureShuffledNodes(argv[1], size);
        measureTags(argv[1], size);
        measureAppConfig(argv[1], size);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
