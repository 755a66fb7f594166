// The app config file: whatever it holds, the loader and the queries of loaded values and databases
// answer as they are told naively. See Comparison.h for what else is expected.

#include "Comparison.h"
#include "Deployment.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    files::Texts texts = soundDeployment();
    texts.appConfig.assign(reinterpret_cast<const char*>(data), size);
    const auto ask = [](auto& reader, questions::Answers& answers) {
        questions::putDatabases(reader, answers);
    };
    comparison::compare(soundDeployment(), texts, comparison::asking(ask));
    return 0;
}
