#include "Variants.h"
#include "generator/Deployment.h"

#include <ace/Guard_T.h>
#include <ace/RW_Thread_Mutex.h>
#include <simdjson.h>

#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace bench {

namespace {

class Validator {
public:
    /// Reads the file and returns its length.
    std::size_t validate(const std::string& path) {
        const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat status {};
        if (descriptor < 0 || ::fstat(descriptor, &status) != 0) {
            throw std::runtime_error("cannot open " + path);
        }
        const auto size = static_cast<std::size_t>(status.st_size);
        if (size + simdjson::SIMDJSON_PADDING > m_capacity) {
            m_capacity = size + simdjson::SIMDJSON_PADDING;
            m_text = std::make_unique<char[]>(m_capacity);
        }
        const ssize_t count = ::read(descriptor, m_text.get(), size);
        ::close(descriptor);
        if (count != status.st_size || m_parser.parse(m_text.get(), size, false).error()) {
            throw std::runtime_error("not valid: " + path);
        }
        return size;
    }

private:
    std::unique_ptr<char[]> m_text;
    std::size_t m_capacity = 0;
    simdjson::dom::parser m_parser;
};

/// One value under a lock, in the simplest form.
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
    suite.add({"validate",
               {},
               [](benchmark::State& state) {
                   const std::string path = nodeListPath();
                   Validator validator;
                   validator.validate(path);
                   for (auto _ : state) {
                       benchmark::DoNotOptimize(validator.validate(path));
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
