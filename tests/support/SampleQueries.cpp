// SPDX-License-Identifier: Apache-2.0
#include "support/SampleQueries.h"

#include "support/Deployment.h"

namespace queries {

namespace {

std::string address(const std::string& ip, const std::string& tags) {
    return R"({"IP":")" + ip + R"(","usage":[)" + tags + "]},";
}

std::string node(const std::string& mark) {
    return R"({"kind":"k)" + mark + R"(","extAttr":{"HOSTID":"tag)" + mark +
           R"("},"IPAddresses":[)" + address("1." + mark, R"("northbound")") +
           address("2." + mark, R"("northbound5","southbound")") +
           address("3." + mark, R"("southbound12","SOUTHBOUND2")") +
           address("4." + mark, R"("Maintenance","float")") +
           address("5." + mark, R"("service2","x")") + R"({"IP":"6.)" + mark +
           R"(","usage":["service"]}]})";
}

} // namespace

std::vector<ReaderQuery> reading(Reads reads) {
    std::vector<ReaderQuery> some;
    for (const ReaderQuery& query : ofReader()) {
        if (query.reads == reads) {
            some.push_back(query);
        }
    }
    return some;
}

std::string ask(const ReaderQuery& query) {
    const Arguments with{"db", 0, "x", "northbound", "kind", "k"};
    Outputs out;
    out.text = "old";
    out.text2 = "old";
    out.list = {"old"};
    out.byTag = {{"float", "old"}};
    out.byNode = {{"old", {}}};
    out.tree = "old";
    out.trees = {{"old", Json::Value()}};
    out.tags = {"service", "float"};
    query.call(*Quarncommon::SysConfReader::Instance(), with, out);
    return out.toText();
}

std::string appConfig(const std::string& mark) {
    return R"({"databases":{"db":[{"accessPort":5,"type":"t)" + mark + R"(","user":"u)" + mark +
           R"(","serviceName":"s)" + mark + R"(","passwd":"p)" + mark + R"(","serverName":"v)" +
           mark + R"(","accessHost":"h)" + mark + R"(","instanceExt":{"lib":"l)" + mark +
           R"("}}]},"processes":{"p1":{"nodeId":"n1","IR":{"ip":"M)" + mark +
           R"("},"local":{"ip":"L)" + mark + R"(","port":1},"wss":{"ip":"W)" + mark +
           R"(","port":2},"CORBA":{"port":3},"CORBA_SSL":{"port":4}}}})";
}

std::string nodeList(const std::string& mark, std::size_t furtherNodes) {
    std::string text = R"({"nodeList":{"n1":)" + node(mark);
    for (std::size_t n = 0; n < furtherNodes; ++n) {
        text += R"(,"further)" + std::to_string(n) + mark + R"(":)" + node(mark);
    }
    return text + "}}";
}

void write(support::Deployment& files, const std::string& mark) {
    files.appConfig(appConfig(mark)).nodeList(nodeList(mark)).managerNodeList(nodeList(mark));
}

} // namespace queries
