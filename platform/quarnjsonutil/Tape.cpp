#include "Tape.h"

#include <bit>
#include <vector>

Json::Value Tape::shallowValue(std::size_t index) const {
    switch (type(index)) {
    case kTrue:
    case kFalse:
        return type(index) == kTrue;
    case kSigned:
        return static_cast<Json::LargestInt>(words[index + 1]);
    case kUnsigned:
        return static_cast<Json::LargestUInt>(words[index + 1]);
    case kDouble:
        return std::bit_cast<double>(words[index + 1]);
    case kText: {
        const std::string_view bytes = text(index);
        return {bytes.data(), bytes.data() + bytes.size()};
    }
    case kArray:
        return Json::arrayValue;
    case kObject:
        return Json::objectValue;
    default:
        return {};
    }
}

Json::Value Tape::value(std::size_t index) const {
    Json::Value built;
    // The containers that are not complete, innermost last. They keep their addresses: jsoncpp
    // keeps children in a search tree.
    std::vector<Json::Value*> open;
    for (const std::size_t end = next(index); index != end;) {
        if (isEnd(index)) {
            open.pop_back();
            ++index;
            continue;
        }
        Json::Value* place = &built;
        if (!open.empty() && open.back()->isArray()) {
            place = &open.back()->append(Json::Value());
        } else if (!open.empty()) {
            const std::string_view name = text(index++);
            place = open.back()->demand(name.data(), name.data() + name.size());
        }
        *place = shallowValue(index);
        if (isContainer(index)) {
            open.push_back(place);
            ++index;
        } else {
            index = next(index);
        }
    }
    return built;
}
