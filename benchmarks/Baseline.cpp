#include "Operations.h"
#include "Variants.h"
#include "baseline/SysConfReader.h"
#include "baseline/SysConfReaderImpl.h"

#include <stdexcept>

namespace bench {

void addBaseline(Suite& suite) {
    addOperations<baseline::SysConfReader, baseline::SysConfReaderImpl>(suite);
}

void compareAnswers() {
    const std::string found = difference(answersApart(addProduct), answersApart(addBaseline));
    if (!found.empty()) {
        throw std::runtime_error("product and baseline differ: " + found);
    }
}

} // namespace bench
