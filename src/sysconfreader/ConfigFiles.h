#pragma once

#include "rules/Node.h"

#include <json/value.h>

#include <optional>
#include <string>

/// Environment and files: everything that the library takes from outside is read here.
namespace Quarncommon::config {

/// A configuration file: the environment variable that leads to it and what follows its value.
struct ConfigFile {
    const char* variable;
    const char* suffix;
};

inline constexpr ConfigFile kAppConfig{"APP_CONF_FILE", ""};
inline constexpr ConfigFile kNodeList{"APP_ROOT", "/etc/sysconf/nodelist.json"};
inline constexpr ConfigFile kManagerNodeList{"TOLM_ROOT", "/etc/sysconf/nodelists.json"};

/// The variable whose value is the key of this process under "processes".
inline constexpr const char* kInstanceIdVariable = "PROCESS_INSTANCE_ID";

/// The value of an environment variable, "" when unset; read anew on each call.
std::string environment(const char* variable);

/// Where a file is: the variable's value with the suffix behind it, exactly as they stand.
std::string pathOf(const ConfigFile& file);

/// The same, but nothing when the variable is unset.
std::optional<std::string> pathIfSet(const ConfigFile& file);

/// The bytes of a whole regular file; nothing if readJsonFile has no text to parse. Never throws.
std::optional<std::string> readText(const std::string& path);

/// The result of reading and parsing a file. True if it was parsed.
class ReadResult {
public:
    enum class Outcome {
        Parsed,
        /// Missing, not permitted, not a regular file, or not one valid JSON text. Reading again
        /// gives the same until somebody changes something.
        NotParsed,
        /// A resource or the storage failed, or the file did not hold still. Nothing is known about
        /// its content, and reading again may succeed.
        Unavailable
    };

    ReadResult(Outcome outcome) : m_outcome(outcome) {} // NOLINT(google-explicit-constructor)
    explicit operator bool() const { return m_outcome == Outcome::Parsed; }
    bool unavailable() const { return m_outcome == Outcome::Unavailable; }

private:
    Outcome m_outcome;
};

/// Reads the whole regular file and parses it into `value`, which stays as it was unless the result
/// is true.
/// @throws std::bad_alloc if memory runs out, and what a JsonReader of the platform throws.
ReadResult readJsonFile(const std::string& path, Json::Value& value);

#ifdef SYSCONFREADER_WITH_DOCUMENT
using Document = JsonDocument;
#else
/// Where the platform's JSON library has no form of reading that builds only what is asked for,
/// the full tree is built and asked the same questions.
class Document {
public:
    static constexpr std::size_t kPadding = 0;
    bool read(const char* text, std::size_t length);
    rules::Node root() const { return m_tree; }

private:
    Json::Value m_tree;
};
#endif

/// The same for a file of which little is needed: `document` answers from it.
ReadResult readJsonFile(const std::string& path, Document& document);

} // namespace Quarncommon::config
