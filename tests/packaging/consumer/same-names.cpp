// SPDX-License-Identifier: Apache-2.0
// Classes with the names and signatures of those inside the library.
#include <SysConfReader.h>
#include <SysConfReader_i.h>

#include <iostream>
#include <list>
#include <string>

class JsonReader {
public:
    explicit JsonReader(bool lenient);
    bool parse(const std::string& text, Json::Value& value);

private:
    bool m_lenient;
};

JsonReader::JsonReader(bool lenient) : m_lenient(lenient) {}

bool JsonReader::parse(const std::string& /*text*/, Json::Value& value) {
    value = Json::Value();
    return m_lenient;
}

class QuarnCommonUtils {
public:
    static std::string Quarngetenv(const std::string& name);
    static void split(const std::string& text, const std::string& separator,
                      std::list<std::string>& pieces);
};

std::string QuarnCommonUtils::Quarngetenv(const std::string& /*name*/) {
    return "of the program";
}

void QuarnCommonUtils::split(const std::string& /*text*/, const std::string& /*separator*/,
                             std::list<std::string>& pieces) {
    pieces.emplace_back("of the program");
}

class QuarnCommonUtils_i {
public:
    static void getAllIPAddr(std::list<std::string>& addresses);
};

void QuarnCommonUtils_i::getAllIPAddr(std::list<std::string>& addresses) {
    addresses.emplace_back("of the program");
}

int main() {
    auto* reader = Quarncommon::SysConfReader::Instance();
    std::cout << Quarncommon::SysConfReader_i::Instance()->GetProductName() << '\n'
              << reader->getLocalServiceIP() << '\n'
              << reader->getLocalSouthIP() << '\n';
    Quarncommon::SysConfReader::Destory();
    Json::Value value;
    return JsonReader(true).parse("1", value) ? 0 : 1;
}
