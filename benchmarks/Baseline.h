// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "comparison/NaiveReader.h"

namespace bench {

/// The reference for the product's speed: NaiveReader with files that it reads as often as the
/// product does, through stream-buffer iterators, and parses with jsoncpp's strict reader. It takes
/// no lock. Never linked into the product.
class Baseline : public NaiveReader {
public:
    static Baseline* Instance();
    static void Destory();

private:
    Baseline();
};

} // namespace bench
