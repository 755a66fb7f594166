// SPDX-License-Identifier: Apache-2.0
#include "PathWalk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace {

using eventcbutil::Found;
using eventcbutil::Place;
using testing::ElementsAreArray;

using Tree = std::map<std::string, Found>;

const Found kFolder{Found::Kind::Folder, {}};
const Found kFile{Found::Kind::File, {}};

Found linkTo(const std::string& target) {
    return {Found::Kind::Link, target};
}

struct Row {
    std::string name;
    std::string path;
    Tree tree;
    std::vector<Place> places;
};

void PrintTo(const Row& row, std::ostream* stream) {
    *stream << row.path;
}

std::vector<Place> placesOf(const Row& row) {
    std::vector<Place> places;
    eventcbutil::walkPath(row.path, [&](const Place& place) {
        places.push_back(place);
        const std::string folder = place.folder == "/" ? "" : place.folder;
        const auto found = row.tree.find(folder + "/" + place.name);
        return found != row.tree.end() ? found->second : Found{};
    });
    return places;
}

const Row kRows[] = {
    {"PlainPath_EveryFolderOnIt",
     "/a/b/f",
     {{"/a", kFolder}, {"/a/b", kFolder}, {"/a/b/f", kFile}},
     {{"/", "a"}, {"/a", "b"}, {"/a/b", "f", true}}},
    {"MissingFile_LooksForItInItsFolder",
     "/a/f",
     {{"/a", kFolder}},
     {{"/", "a"}, {"/a", "f", true}}},
    {"MissingFolder_EndsAtTheDeepestExistingOne",
     "/a/b/c/f",
     {{"/a", kFolder}},
     {{"/", "a"}, {"/a", "b"}}},
    {"FileInTheWay_EndsThere", "/a/b/f", {{"/a", kFile}}, {{"/", "a"}}},
    {"DoubledAndTrailingSlashesAndDots_AreNoNames",
     "//a/.//b///f",
     {{"/a", kFolder}, {"/a/b", kFolder}, {"/a/b/f", kFile}},
     {{"/", "a"}, {"/a", "b"}, {"/a/b", "f", true}}},
    {"ParentOfAFolder_IsLookedAtOnTheWay",
     "/a/../b/f",
     {{"/a", kFolder}, {"/b", kFolder}, {"/b/f", kFile}},
     {{"/", "a"}, {"/", "b"}, {"/b", "f", true}}},
    {"ParentOfTheRoot_IsTheRoot", "/../f", {{"/f", kFile}}, {{"/", "f", true}}},
    {"ParentOfAMissingFolder_IsMissing", "/a/../f", {{"/f", kFile}}, {{"/", "a"}}},
    {"LinkToTheFile_TheLinkAndItsTarget",
     "/a/f",
     {{"/a", kFolder}, {"/a/f", linkTo("../b/g")}, {"/b", kFolder}, {"/b/g", kFile}},
     {{"/", "a"}, {"/a", "f", true}, {"/", "b"}, {"/b", "g", true}}},
    {"LinkToAFolder_IsFollowedStepByStep",
     "/a/data/f",
     {{"/a", kFolder},
      {"/a/data", linkTo("..data")},
      {"/a/..data", linkTo("v1")},
      {"/a/v1", kFolder},
      {"/a/v1/f", kFile}},
     {{"/", "a"}, {"/a", "data"}, {"/a", "..data"}, {"/a", "v1"}, {"/a/v1", "f", true}}},
    {"AbsoluteLink_StartsAtTheRoot",
     "/a/b/f",
     {{"/a", kFolder}, {"/a/b", linkTo("/c/")}, {"/c", kFolder}, {"/c/f", kFile}},
     {{"/", "a"}, {"/a", "b"}, {"/", "c"}, {"/c", "f", true}}},
    {"ParentBehindALink_IsThatOfTheTarget",
     "/a/../f",
     {{"/a", linkTo("/b/c")}, {"/b", kFolder}, {"/b/c", kFolder}, {"/b/f", kFile}},
     {{"/", "a"}, {"/", "b"}, {"/b", "c"}, {"/b", "f", true}}},
    {"DanglingLink_LooksForItsTarget",
     "/f",
     {{"/f", linkTo("g/h")}},
     {{"/", "f", true}, {"/", "g"}}},
};

class PathWalk : public testing::TestWithParam<Row> {};

TEST_P(PathWalk, Places_InTheKernelsOrder) {
    EXPECT_THAT(placesOf(GetParam()), ElementsAreArray(GetParam().places));
}

INSTANTIATE_TEST_SUITE_P(Of, PathWalk, testing::ValuesIn(kRows),
                         [](const auto& row) { return row.param.name; });

TEST(PathWalkLinks, CircleOfLinks_EndsAtTheKernelsLimit) {
    const std::vector<Place> places =
        placesOf({"", "/a/f", {{"/a", linkTo("b")}, {"/b", linkTo("a")}}, {}});
    EXPECT_EQ(places.size(), 41U);
}

TEST(PathWalkLinks, FortyLinksInARow_AreFollowedToTheFile) {
    Tree tree{{"/40", kFile}};
    for (int i = 0; i < 40; ++i) {
        tree["/" + std::to_string(i)] = linkTo(std::to_string(i + 1));
    }
    const std::vector<Place> places = placesOf({"", "/0", tree, {}});
    ASSERT_EQ(places.size(), 41U);
    EXPECT_EQ(places.back(), (Place{"/", "40", true}));
}

} // namespace

namespace eventcbutil {

void PrintTo(const Place& place, std::ostream* stream) {
    *stream << place.folder << " : " << place.name << (place.last ? " (last)" : "");
}

} // namespace eventcbutil
