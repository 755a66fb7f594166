// SPDX-License-Identifier: Apache-2.0
#include "etcd/Encoding.h"

#include "etcd/EtcdError.h"

#include <json/reader.h>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <memory>

namespace sysconfsync {
namespace {

const unsigned char* bytesOf(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

} // namespace

std::string toBase64(std::string_view bytes) {
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0'); // one more for the final NUL byte
    const int size = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytesOf(bytes),
                                     static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(size));
    return text;
}

std::string fromBase64(std::string_view text) {
    std::string bytes(text.size() / 4 * 3, '\0');
    const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()), bytesOf(text),
                                     static_cast<int>(text.size()));
    if (size < 0) {
        throw EtcdError(Failure::Malformed, "a value from etcd is not base64 text");
    }
    // The padding was decoded as zero bytes.
    const auto content = text.find_last_not_of('=');
    const std::size_t padding = text.empty() ? 0 : text.size() - 1 - content;
    bytes.resize(static_cast<std::size_t>(size) - std::min<std::size_t>(padding, 2));
    return bytes;
}

std::string sha256(std::string_view bytes) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> sum{};
    unsigned int size = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), sum.data(), &size, EVP_sha256(), nullptr) != 1) {
        throw std::runtime_error("the cryptographic library cannot compute SHA-256");
    }
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (unsigned int i = 0; i < size; ++i) {
        text += kDigits.at(sum.at(i) >> 4U);
        text += kDigits.at(sum.at(i) & 15U);
    }
    return text;
}

Json::Value parsedObject(std::string_view text) {
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    Json::Value value;
    bool parsed = false;
    try {
        parsed = reader->parse(text.data(), text.data() + text.size(), &value, nullptr);
    } catch (const Json::Exception&) { // nested too deeply
    }
    if (!parsed || !value.isObject()) {
        throw EtcdError(Failure::Malformed, "a value or an answer from etcd is not a JSON object");
    }
    return value;
}

} // namespace sysconfsync
