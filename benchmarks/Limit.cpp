// SPDX-License-Identifier: Apache-2.0
#include "Variants.h"
#include "generator/Deployment.h"

#include <ace/Guard_T.h>
#include <ace/RW_Thread_Mutex.h>

#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace bench {

namespace {

class FileReader {
public:
    std::size_t read(const std::string& path) {
        const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat status {};
        if (descriptor < 0 || ::fstat(descriptor, &status) != 0) {
            throw std::runtime_error("cannot open " + path);
        }
        m_text.resize(static_cast<std::size_t>(status.st_size));
        const ssize_t size = ::read(descriptor, m_text.data(), m_text.size());
        ::close(descriptor);
        if (size != status.st_size) {
            throw std::runtime_error("cannot read " + path);
        }
        return m_text.size();
    }

private:
    std::vector<char> m_text;
};

struct Guarded {
    ACE_RW_Thread_Mutex mutex;
    std::string text = "192.0.2.11";
    int number = 31000;

    [[gnu::noinline]] std::string copyOfText() {
        const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(mutex);
        return text;
    }
    [[gnu::noinline]] int copyOfNumber() {
        const ACE_Read_Guard<ACE_RW_Thread_Mutex> guard(mutex);
        return number;
    }
};

std::string nodeListPath() {
    return std::string(std::getenv("APP_ROOT")) + "/" + generator::kNodeListFile;
}

} // namespace

void addLimit(Suite& suite) {
    suite.add({"read",
               {},
               [](benchmark::State& state) {
                   const std::string path = nodeListPath();
                   FileReader reader;
                   reader.read(path);
                   for (auto _ : state) {
                       benchmark::DoNotOptimize(reader.read(path));
                   }
               },
               true});
    suite.add({"guarded-text", {}, [](benchmark::State& state) {
                   Guarded guarded;
                   for (auto _ : state) {
                       benchmark::DoNotOptimize(guarded.copyOfText());
                   }
               }});
    suite.add({"guarded-number", {}, [](benchmark::State& state) {
                   Guarded guarded;
                   for (auto _ : state) {
                       benchmark::DoNotOptimize(guarded.copyOfNumber());
                   }
               }});
}

} // namespace bench
