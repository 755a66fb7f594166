// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <string>
#include <string_view>

namespace sysconfsync {

std::string toBase64(std::string_view bytes);
/// @throws EtcdError (Malformed) if the text is not base64.
std::string fromBase64(std::string_view text);
/// In lower-case hexadecimal digits.
std::string sha256(std::string_view bytes);

/// @throws EtcdError (Malformed) if the text is not JSON of an object.
Json::Value parsedObject(std::string_view text);

} // namespace sysconfsync
