// SPDX-License-Identifier: Apache-2.0
// database-entry NAME: prints the connection data of each entry of a database. The exit status is 1
// if the database is unknown or a value has the wrong type.

#include <SysConfReader.h>

#include <json/value.h>

#include <iostream>
#include <string>

namespace {

std::string connection(Quarncommon::SysConfReader& reader, const std::string& name,
                       unsigned int index) {
    const bool secret = !reader.getDBPassword(name, index).empty();
    return reader.getDBType(name, index) + " at " + reader.getDBAccessHost(name, index) + " port " +
           std::to_string(reader.getDBAccessPort(name, index)) + ", user " +
           reader.getDBUserName(name, index) + ", service " + reader.getDBServiceName(name, index) +
           " of " + reader.getDBServerName(name, index) + ", through " +
           reader.getDBLib(name, index) + (secret ? ", with" : ", without") + " a password";
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: database-entry NAME\n";
        return 2;
    }
    const std::string name = argv[1];
    auto& reader = *Quarncommon::SysConfReader::Instance();

    // A missing field and an unknown database both read as ""; this call distinguishes them.
    int status = 0;
    Json::Value entries;
    if (reader.getDBInfo(name, entries) != 0) {
        std::cerr << "no database " << name << '\n';
        status = 1;
    }
    try {
        for (unsigned int index = 0; index < entries.size(); ++index) {
            const std::string line = connection(reader, name, index);
            std::cout << index << ": " << line << '\n';
        }
    } catch (const Json::Exception& wrongType) {
        // Only database queries throw if a value has the wrong type.
        std::cerr << "database " << name << ": " << wrongType.what() << '\n';
        status = 1;
    }
    Quarncommon::SysConfReader::Destory();
    return status;
}
