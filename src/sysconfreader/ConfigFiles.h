#pragma once

#include "rules/Node.h"

#include <json/value.h>

#include <optional>
#include <string>

/// Environment and files: every input of the library is read here.
namespace Quarncommon::config {

/// A configuration file: its path is the value of an environment variable followed by a suffix.
struct ConfigFile {
    const char* variable;
    const char* suffix;
};

inline constexpr ConfigFile kAppConfig{"APP_CONF_FILE", ""};
inline constexpr ConfigFile kNodeList{"APP_ROOT", "/etc/sysconf/nodelist.json"};
inline constexpr ConfigFile kManagerNodeList{"TOLM_ROOT", "/etc/sysconf/nodelists.json"};

/// The variable that holds the key of this process under "processes".
inline constexpr const char* kInstanceIdVariable = "PROCESS_INSTANCE_ID";

/// Returns the value of an environment variable, "" if it is unset. Reads it on each call.
std::string environment(const char* variable);

/// Returns the path of a file: the variable's value followed by the suffix, both verbatim.
std::string pathOf(const ConfigFile& file);

/// The same, but returns nothing if the variable is unset.
std::optional<std::string> pathIfSet(const ConfigFile& file);

/// Returns the bytes of a regular file, up to and including the first NUL byte if there is one;
/// nothing if readJsonFile has no text to parse. Never throws.
///
/// Which bytes these are if the file changes meanwhile:
/// - A file that is replaced by rename() gives one text or the other, always whole.
/// - A file that is written in place is read up to eight times, until it has not changed while it
/// was
///   read. If it was touched during each of these reads, the last two must be equal. The bytes can
///   still contain a part of the old and a part of the new text, if the writer did not write
///   between these reads: nothing distinguishes that state of the file from a finished one.
std::optional<std::string> readText(const std::string& path);

/// The result of reading and parsing a file. True if it was parsed.
class ReadResult {
public:
    enum class Outcome {
        Parsed,
        /// Missing, not permitted, not a regular file, too large, or not one valid JSON text.
        /// Reading again gives the same until somebody changes something.
        NotParsed,
        /// A resource or the storage failed, or the file changed during each of eight reads. Its
        /// content is unknown, and reading again may succeed.
        Unavailable
    };

    ReadResult(Outcome outcome) : m_outcome(outcome) {} // NOLINT(google-explicit-constructor)
    explicit operator bool() const { return m_outcome == Outcome::Parsed; }
    bool unavailable() const { return m_outcome == Outcome::Unavailable; }

private:
    Outcome m_outcome;
};

/// Reads the whole regular file and parses it into `value`, which is changed only if the result is
/// true.
///
/// Limits: a file of more than 1 GiB is refused by its size. A file that reports no size, as those
/// of /proc, is refused after 16 MiB. Memory grows with what was read, not with the reported size,
/// and reading stops at the first NUL byte: no JSON text contains one.
/// @throws std::bad_alloc if memory runs out, and what a JsonReader of the platform throws.
ReadResult readJsonFile(const std::string& path, Json::Value& value);

#ifdef SYSCONFREADER_WITH_DOCUMENT
using Document = JsonDocument;
#else
/// For a platform whose JSON library has no JsonDocument: builds the full tree and answers from it.
class Document {
public:
    static constexpr std::size_t kPadding = 0;
    bool read(const char* text, std::size_t length);
    rules::Node root() const { return m_tree; }

private:
    Json::Value m_tree;
};
#endif

/// The same without building values: `document` answers from the text.
ReadResult readJsonFile(const std::string& path, Document& document);

} // namespace Quarncommon::config
