// SPDX-License-Identifier: Apache-2.0
// bench-events LIBRARY [ROUNDS [SECONDS]]: prints the cost of the event library as JSON: the time
// from a rename to the new answer, the resources that a subscription adds to the process, and the
// CPU time of its thread during SECONDS without changes.

#include "generator/Deployment.h"

#include <SysConfReader.h>

#include <json/json.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Quarncommon::SysConfReader;

std::string textOf(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

long number(const fs::path& file, const std::string& name) {
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        if (line.starts_with(name + ":")) {
            return std::stol(line.substr(name.size() + 1));
        }
    }
    throw std::runtime_error(file.string() + " has no " + name);
}

long entries(const fs::path& folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

long watches() {
    long number = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/self/fdinfo")) {
        std::ifstream info(entry.path());
        for (std::string line; std::getline(info, line);) {
            number += line.starts_with("inotify ") ? 1 : 0;
        }
    }
    return number;
}

/// Private memory of this process in kilobytes.
long privateMemory() {
    return number("/proc/self/smaps_rollup", "Private_Dirty");
}

fs::path serviceThread() {
    for (const fs::directory_entry& task : fs::directory_iterator("/proc/self/task")) {
        if (textOf(task.path() / "comm") == "sysconf-events\n") {
            return task.path();
        }
    }
    throw std::runtime_error("there is no subscription");
}

class Deployment {
public:
    explicit Deployment(fs::path folder) : m_folder(std::move(folder)) {
        generator::writeDeployment(m_folder, {});
        m_next = textOf(list());
        ::setenv("APP_CONF_FILE", (m_folder / generator::kAppConfigFile).c_str(), 1);
        ::setenv("PROCESS_INSTANCE_ID", generator::kInstanceId, 1);
        ::setenv("APP_ROOT", m_folder.c_str(), 1);
        ::setenv("TOLM_ROOT", m_folder.c_str(), 1);
    }
    Deployment(const Deployment&) = delete;
    Deployment& operator=(const Deployment&) = delete;
    ~Deployment() {
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }

    double microsecondsToAnswer(int round) {
        const std::string tag = "tag-" + std::to_string(round);
        replaceTags(tag);
        const fs::path next = list().string() + ".next";
        std::ofstream(next) << m_next;
        const Clock::time_point start = Clock::now();
        fs::rename(next, list());
        while (SysConfReader::Instance()->getLocalHostTagName() != tag) {
            std::this_thread::yield();
        }
        return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
    }

private:
    fs::path list() const { return m_folder / generator::kNodeListFile; }

    void replaceTags(const std::string& tag) {
        Json::Value root;
        std::istringstream(m_next) >> root;
        for (Json::Value& node : root["nodeList"]) {
            node["extAttr"]["HOSTID"] = tag;
        }
        m_next = root.toStyledString();
    }

    fs::path m_folder;
    std::string m_next;
};

Json::Value latencies(Deployment& deployment, const char* quiet, int rounds) {
    ::setenv("SYSCONF_EVENT_QUIET_MS", quiet, 1);
    SysConfReader::Destory();
    SysConfReader::Instance();
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        times.push_back(deployment.microsecondsToAnswer(round + 1));
    }
    std::sort(times.begin(), times.end());
    Json::Value value;
    value["rounds"] = rounds;
    value["median_us"] = times[times.size() / 2];
    value["p99_us"] = times[times.size() * 99 / 100];
    return value;
}

Json::Value silence(int seconds) {
    const fs::path thread = serviceThread();
    const auto used = [&] { return std::stol(textOf(thread / "schedstat")); };
    const auto wakes = [&] { return number(thread / "status", "voluntary_ctxt_switches"); };
    const long usedBefore = used();
    const long wakesBefore = wakes();
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    Json::Value value;
    value["seconds"] = seconds;
    value["cpu_ns"] = Json::Int64(used() - usedBefore);
    value["wakes"] = Json::Int64(wakes() - wakesBefore);
    return value;
}

Json::Value added(const char* library) {
    ::setenv("NO_EM_CLIENT", "1", 1);
    SysConfReader::Instance();
    SysConfReader::Destory();
    SysConfReader::Instance();
    const long threads = entries("/proc/self/task");
    const long descriptors = entries("/proc/self/fd");
    const long memory = privateMemory();
    // Later found by its name.
    if (::dlopen(library, RTLD_LAZY | RTLD_GLOBAL) == nullptr) {
        throw std::runtime_error(::dlerror());
    }
    ::unsetenv("NO_EM_CLIENT");
    SysConfReader::Instance()->Reload();
    Json::Value value;
    value["threads"] = Json::Int64(entries("/proc/self/task") - threads);
    value["descriptors"] = Json::Int64(entries("/proc/self/fd") - descriptors);
    value["watches"] = Json::Int64(watches());
    value["private_kb"] = Json::Int64(privateMemory() - memory);
    return value;
}

void measure(const char* library, int rounds, int seconds) {
    std::string folder = (fs::temp_directory_path() / "bench-events-XXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    Deployment deployment(folder);
    Json::Value all;
    all["added"] = added(library);
    all["quiet_50_ms"] = latencies(deployment, "50", rounds);
    all["quiet_0_ms"] = latencies(deployment, "0", rounds);
    all["silence"] = silence(seconds);
    SysConfReader::Destory();
    std::printf("%s", all.toStyledString().c_str());
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 4) {
        std::fprintf(stderr, "usage: %s LIBRARY [ROUNDS [SECONDS]]\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        measure(argv[1], argc > 2 ? std::max(std::atoi(argv[2]), 1) : 500,
                argc > 3 ? std::atoi(argv[3]) : 60);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
