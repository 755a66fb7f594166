// SPDX-License-Identifier: Apache-2.0
#include "JsonDocument.h"
#include "JsonReader.h"
#include "QuarnCommonUtils.h"
#include "QuarnCommonUtils_i.h"

static_assert(__cplusplus < 201703L, "compiled as the oldest callers compile it");

unsigned nestingLimit() {
    return JsonReader::kNestingLimit;
}
