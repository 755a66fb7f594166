// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "comparison/NaiveReader.h"

namespace bench {

/// The reference for the product's speed: NaiveReader on files. It reads them as often as the
/// product does, with stream-buffer iterators, and parses them with jsoncpp's strict reader. No
/// locks.
class Baseline : public NaiveReader {
public:
    static Baseline* Instance();
    static void Destory();

private:
    Baseline();
};

} // namespace bench
