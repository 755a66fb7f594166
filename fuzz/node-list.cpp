// The node list: whatever it holds, the loaders and every query that reads it answer as they are
// told naively. See Comparison.h for what else is expected.

#include "Comparison.h"
#include "Deployment.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    files::Texts texts = soundDeployment();
    texts.nodeList.assign(reinterpret_cast<const char*>(data), size);
    const std::set<std::string> tags = comparison::someTexts(texts.nodeList);
    const auto ask = [&](auto& reader, questions::Answers& answers) {
        questions::putNodeList(reader, tags, answers);
    };
    comparison::compare(soundDeployment(), texts, comparison::asking(ask));
    return 0;
}
