// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "comparison/NaiveReader.h"

namespace bench {

/// The reference for the product's speed: NaiveReader on files, as often as the product reads them,
/// with stream-buffer iterators and jsoncpp's strict reader. No locks.
class Baseline : public NaiveReader {
public:
    static Baseline* Instance();
    static void Destory();

private:
    Baseline();
};

} // namespace bench
