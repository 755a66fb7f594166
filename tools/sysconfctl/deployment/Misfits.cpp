#include "deployment/Misfits.h"

#include <algorithm>
#include <charconv>
#include <exception>

namespace sysconfctl {
namespace {

using located::Path;

Path below(Path path, const std::string& step) {
    path.push_back(step);
    return path;
}

Path below(Path path, std::initializer_list<const char*> steps) {
    path.insert(path.end(), steps.begin(), steps.end());
    return path;
}

/// What jsoncpp converts without throwing.
bool isText(const Json::Value& value) {
    return !value.isArray() && !value.isObject();
}

bool hasMembers(const Json::Value& value) {
    return value.isNull() || value.isObject();
}

bool isInt(const Json::Value& value) {
    return value.isNull() || value.isBool() || value.isConvertibleTo(Json::intValue);
}

/// A member of what has members; null otherwise.
const Json::Value& memberOf(const Json::Value& value, const char* name) {
    return hasMembers(value) ? value[name] : Json::Value::nullSingleton();
}

class Collector {
public:
    explicit Collector(const Json::Value& root) : m_root(root) {}

    bool object(const Path& path) {
        return expect(path, hasMembers(valueAt(m_root, path)), "an object");
    }
    void text(const Path& path) { expect(path, isText(valueAt(m_root, path)), "a text"); }
    void number(const Path& path) {
        const Json::Value& value = valueAt(m_root, path);
        expect(path, !value.isString() && isText(value) && isInt(value),
               "a whole number of 32 bits");
    }
    /// What is walked by index: anything but an object with members.
    bool array(const Path& path) {
        const Json::Value& value = valueAt(m_root, path);
        return expect(path, !value.isObject() || value.empty(), "an array");
    }

    std::vector<Misfit> misfits;

private:
    bool expect(const Path& path, bool fits, const char* expected) {
        if (!fits) {
            misfits.push_back(
                {path, "is " + kindOf(valueAt(m_root, path)) + " where " + expected + " is read"});
        }
        return fits;
    }

    const Json::Value& m_root;
};

void collectEntry(Collector& collector, const Json::Value& entry, const Path& path) {
    if (!collector.object(path)) {
        return;
    }
    const Path usage = below(path, "usage");
    const Json::Value& tags = memberOf(entry, "usage");
    if (collector.array(usage) && tags.isArray()) {
        for (Json::ArrayIndex i = 0; i < tags.size(); ++i) {
            collector.text(below(usage, std::to_string(i)));
        }
    } else if (tags.isObject()) {
        for (const std::string& name : tags.getMemberNames()) {
            collector.text(below(usage, name));
        }
    }
    collector.text(below(path, "IP"));
}

void collectNode(Collector& collector, const Json::Value& node, const Path& path) {
    if (!collector.object(path)) {
        return;
    }
    collector.text(below(path, "assignedToTenancy"));
    if (collector.object(below(path, "extAttr"))) {
        collector.text(below(path, {"extAttr", "hostType"}));
        collector.text(below(path, {"extAttr", "domain_node_type"}));
        collector.text(below(path, {"extAttr", "HOSTID"}));
    }
    const Path addresses = below(path, "IPAddresses");
    const Json::Value& entries = memberOf(node, "IPAddresses");
    collector.array(addresses);
    if (entries.isArray()) {
        for (Json::ArrayIndex i = 0; i < entries.size(); ++i) {
            collectEntry(collector, entries[i], below(addresses, std::to_string(i)));
        }
    } else if (entries.isObject()) {
        for (const std::string& name : entries.getMemberNames()) {
            collectEntry(collector, entries[name], below(addresses, name));
        }
    }
}

Json::Value* mutableAt(Json::Value& root, const Path& path) {
    Json::Value* value = &root;
    for (const std::string& step : path) {
        if (value->isArray()) {
            Json::ArrayIndex index = 0;
            std::from_chars(step.data(), step.data() + step.size(), index);
            value = &(*value)[index];
        } else if (value->isObject()) {
            value = &(*value)[step];
        } else {
            return nullptr;
        }
    }
    return value;
}

bool startsWith(const Path& path, const Path& start) {
    return path.size() >= start.size() && std::equal(start.begin(), start.end(), path.begin());
}

} // namespace

std::string kindOf(const Json::Value& value) {
    switch (value.type()) {
    case Json::nullValue:
        return "null";
    case Json::stringValue:
        return "a text";
    case Json::booleanValue:
        return "a truth value";
    case Json::arrayValue:
        return "an array";
    case Json::objectValue:
        return "an object";
    default:
        return value.isIntegral() ? "a number" : "a fraction or a number out of range";
    }
}

const Json::Value& valueAt(const Json::Value& root, const Path& path) {
    const Json::Value* value = &root;
    for (const std::string& step : path) {
        if (value->isObject()) {
            value = &(*value)[step];
        } else if (value->isArray()) {
            Json::ArrayIndex index = 0;
            const char* const end = step.data() + step.size();
            const auto [stop, error] = std::from_chars(step.data(), end, index);
            const bool found = error == std::errc() && stop == end && index < value->size();
            value = found ? &(*value)[index] : &Json::Value::nullSingleton();
        } else {
            return Json::Value::nullSingleton();
        }
    }
    return *value;
}

std::vector<Misfit> appConfigMisfits(const Json::Value& root, const std::string& instanceId) {
    Collector collector(root);
    if (!collector.object({})) {
        return collector.misfits;
    }
    collector.object({"databases"});
    if (!collector.object({"processes"})) {
        return collector.misfits;
    }
    const Path process = {"processes", instanceId};
    if (!collector.object(process)) {
        return collector.misfits;
    }
    constexpr const char* kTexts[] = {"IR", "local", "wss"};
    constexpr const char* kNumbers[] = {"wss", "local", "CORBA", "CORBA_SSL"};
    for (const char* group : kTexts) {
        if (collector.object(below(process, group))) {
            collector.text(below(process, {group, "ip"}));
        }
    }
    for (const char* group : kNumbers) {
        const bool told = std::any_of(std::begin(kTexts), std::end(kTexts), [&](const char* text) {
            return std::string_view(text) == group;
        });
        if (told ? hasMembers(valueAt(root, below(process, group)))
                 : collector.object(below(process, group))) {
            collector.number(below(process, {group, "port"}));
        }
    }
    collector.text(below(process, "nodeId"));
    return collector.misfits;
}

std::vector<Misfit> nodeListMisfits(const Json::Value& root) {
    Collector collector(root);
    if (!collector.object({}) || !collector.object({"nodeList"})) {
        return collector.misfits;
    }
    const Json::Value& list = root["nodeList"];
    for (const std::string& id : list.getMemberNames()) {
        collectNode(collector, list[id], {"nodeList", id});
    }
    return collector.misfits;
}

std::vector<Misfit> within(const std::vector<Misfit>& misfits, const Path& path) {
    std::vector<Misfit> found;
    for (const Misfit& misfit : misfits) {
        if (startsWith(misfit.path, path) || startsWith(path, misfit.path)) {
            found.push_back(misfit);
        }
    }
    return found;
}

std::optional<Misfit> blame(const Json::Value& root, const std::vector<Misfit>& misfits,
                            const TreeReader& reader) {
    Json::Value mended = root;
    for (const Misfit& misfit : misfits) {
        if (Json::Value* const value = mutableAt(mended, misfit.path)) {
            *value = Json::Value();
        }
    }
    for (const Misfit& misfit : misfits) {
        Json::Value* const value = mutableAt(mended, misfit.path);
        if (value == nullptr) {
            continue;
        }
        *value = valueAt(root, misfit.path);
        try {
            reader(mended);
        } catch (const std::exception&) {
            return misfit;
        }
        *value = Json::Value();
    }
    return std::nullopt;
}

} // namespace sysconfctl
