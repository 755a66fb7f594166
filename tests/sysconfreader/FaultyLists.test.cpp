// SPDX-License-Identifier: Apache-2.0
#include "OwnNode.h"
#include "support/SampleQueries.h"
#include "support/TestDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <sys/stat.h>

namespace {

using Quarncommon::SysConfReader;

using Answers = std::map<std::string, std::string>;

Answers answers() {
    Answers answers;
    for (const queries::ReaderQuery& query : queries::ofReader()) {
        if (query.reads != queries::Reads::Nothing) {
            answers[query.name] = queries::ask(query);
        }
    }
    return answers;
}

class FaultyLists : public testing::Test {
protected:
    FaultyLists() {
        files.appConfig(queries::appConfig("1"));
        SysConfReader::Instance();
        m_withoutLists = answers();
    }

    void expectAnswersLikeWithoutLists(const std::string& fault) {
        EXPECT_EQ(answers(), m_withoutLists) << fault;
    }

    void writeBoth(const std::string& text) { files.nodeList(text).managerNodeList(text); }

    void makeBoth(const std::function<void(const std::filesystem::path&)>& make) {
        for (const auto& path : {files.nodeListPath(), files.managerNodeListPath()}) {
            std::filesystem::create_directories(path.parent_path());
            std::filesystem::remove_all(path);
            make(path);
        }
    }

    support::Deployment files;

private:
    Answers m_withoutLists;
};

TEST_F(FaultyLists, ValidList_AnswersDifferFromThoseWithoutLists) {
    writeBoth(queries::nodeList("1"));
    const Answers whole = answers();
    std::filesystem::remove(files.nodeListPath());
    std::filesystem::remove(files.managerNodeListPath());
    const Answers none = answers();
    for (const auto& [name, answer] : whole) {
        if (name != "getPFType" && name != "getSourceNodeId") {
            EXPECT_NE(answer, none.at(name)) << name;
        }
    }
}

TEST_F(FaultyLists, TruncatedAtAnyByte_AnswersLikeWithoutLists) {
    const std::string text = queries::nodeList("1");
    for (std::size_t length = 0; length < text.size() && !HasFailure(); ++length) {
        writeBoth(text.substr(0, length));
        expectAnswersLikeWithoutLists("first " + std::to_string(length) + " bytes");
    }
}

TEST_F(FaultyLists, MalformedText_AnswersLikeWithoutLists) {
    using namespace std::string_literals;
    const std::string text = queries::nodeList("1");
    for (const std::string& broken :
         {""s, " "s, "\0"s, text + "x", text + text, text + "\0"s, "\xEF\xBB\xBF" + text,
          "/* comment */" + text, text.substr(1), text + "}", std::string(100000, '['),
          std::string(4096, ' '), std::string(8192, '\0')}) {
        writeBoth(broken);
        expectAnswersLikeWithoutLists(broken.substr(0, 30));
    }
}

TEST_F(FaultyLists, TextWithSpaceAround_AnswersLikeWithoutSpace) {
    const std::string text = queries::nodeList("1");
    writeBoth(text);
    const Answers expected = answers();
    writeBoth("\n\t " + text + "\r\n");
    EXPECT_EQ(answers(), expected);
    writeBoth(text + std::string(100000, '\n'));
    EXPECT_EQ(answers(), expected);
}

TEST_F(FaultyLists, FolderMissingOrAFile_AnswersLikeWithoutLists) {
    namespace fs = std::filesystem;
    fs::remove_all(files.appRoot());
    fs::remove_all(files.managerRoot());
    expectAnswersLikeWithoutLists("no folder");
    for (const auto& root : {files.appRoot(), files.managerRoot()}) {
        support::writeFile(root, "{}");
    }
    expectAnswersLikeWithoutLists("file in place of the folder");
}

TEST_F(FaultyLists, HugeList_AnswersLikeASmallOne) {
    writeBoth(queries::nodeList("1"));
    const Answers small = answers();
    writeBoth(queries::nodeList("1", 10000));
    const Answers huge = answers();
    for (const queries::ReaderQuery& query : queries::reading(queries::Reads::NodeList)) {
        EXPECT_EQ(huge.at(query.name), small.at(query.name)) << query.name;
    }
    std::list<std::string> addresses;
    EXPECT_EQ(SysConfReader::Instance()->getIPAddresses("kind", "k", addresses), 0);
    EXPECT_EQ(addresses.size(), 6U * 10001);
}

TEST_F(FaultyLists, ListOfAnySizeAroundABuffer_IsReadToItsLastByte) {
    for (const std::size_t size : {4095U, 4096U, 4097U, 8191U, 8192U, 8193U, 65535U, 65536U}) {
        const std::string start = R"({"nodeList":{"n1":{"IPAddresses":[{"usage":["x"],"IP":")";
        const std::string end = "\"}]}}}";
        const std::string address(size - start.size() - end.size(), 'a');
        writeBoth(start + address + end);
        EXPECT_EQ(SysConfReader::Instance()->getLocalIPByUsage("x"), address) << size;
    }
}

} // namespace
