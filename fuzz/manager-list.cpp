// The manager node list: whatever it holds, the role reader and every query that reads the list
// answer as they are told naively. See Comparison.h for what else is expected.

#include "Comparison.h"
#include "Deployment.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    files::Texts texts = soundDeployment();
    texts.managerNodeList.assign(reinterpret_cast<const char*>(data), size);
    const std::set<std::string> tags = comparison::someTexts(texts.managerNodeList);
    const auto ask = [&](auto& reader, questions::Answers& answers) {
        questions::putManagerNodeList(reader, tags, answers);
    };
    comparison::compare(soundDeployment(), texts, comparison::asking(ask));
    return 0;
}
