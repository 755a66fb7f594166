// SPDX-License-Identifier: Apache-2.0
#include "Operations.h"
#include "Variants.h"

#include <SysConfReader.h>
#include <SysConfReaderImpl.h>

namespace bench {

void addProduct(Suite& suite) {
    addOperations<Quarncommon::SysConfReader, Quarncommon::SysConfReaderImpl>(suite);
}

} // namespace bench
