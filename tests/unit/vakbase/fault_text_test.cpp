#include "vakbase/fault_text.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

#include "tests/support/failing_new.h"

namespace {

struct Link {
  const Link* next = nullptr;
};

std::string walk(const Link* first, std::vector<const Link*>& visited) {
  return VakCheckChain(
      first, [](const Link* link) { return link->next; },
      [&](const Link* link) -> std::string {
        visited.push_back(link);
        return "";
      });
}

TEST(VakFaultText, PutsItsPartsOneAfterTheOther) {
  EXPECT_EQ(VakFaultText("slot ", 5, " of ", 2.5), "slot 5 of 2.5");
}

TEST(VakFaultText, ThrowsInsteadOfLeavingOutWhatThereIsNoMemoryFor) {
  const std::string part(40, 'x');
  std::string text;
  const long failures = VakFailEachNew([&] { text = VakFaultText(part, 5, part); },
                                       [](const std::exception_ptr& thrown) {
                                         EXPECT_TRUE(VakIsException<std::bad_alloc>(thrown));
                                       });
  EXPECT_GT(failures, 1);
  EXPECT_EQ(text, part + "5" + part);
}

TEST(VakNameFault, NamesOnlyWhatIsBroken) {
  EXPECT_EQ(VakNameFault("table", "torn"), "table: torn");
  EXPECT_EQ(VakNameFault("table", ""), "");
}

TEST(VakCheckChain, VisitsEveryElementOnceInOrder) {
  std::vector<Link> links(100);
  for (std::size_t i = 0; i + 1 < links.size(); ++i) links[i].next = &links[i + 1];
  std::vector<const Link*> visited;
  EXPECT_EQ(walk(links.data(), visited), "");
  ASSERT_EQ(visited.size(), links.size());
  for (std::size_t i = 0; i < links.size(); ++i) EXPECT_EQ(visited[i], &links[i]);
  visited.clear();
  EXPECT_EQ(walk(nullptr, visited), "");
  EXPECT_TRUE(visited.empty());
}

TEST(VakCheckChain, FindsEveryCircleWithFewVisits) {
  for (std::size_t length = 1; length <= 40; ++length) {
    for (std::size_t back = 0; back < length; ++back) {
      std::vector<Link> links(length);
      for (std::size_t i = 0; i < length; ++i)
        links[i].next = &links[i + 1 < length ? i + 1 : back];
      std::vector<const Link*> visited;
      const std::string fault = walk(links.data(), visited);
      EXPECT_EQ(fault.rfind("the list runs in a circle through 0x", 0), 0U) << fault;
      EXPECT_LE(visited.size(), 4 * length);
    }
  }
}

TEST(VakCheckChain, ReturnsTheFirstFaultAndGoesNoFurther) {
  std::vector<Link> links(3);
  for (std::size_t i = 0; i + 1 < links.size(); ++i) links[i].next = &links[i + 1];
  int visits = 0;
  const std::string fault = VakCheckChain(
      static_cast<const Link*>(links.data()), [](const Link* link) { return link->next; },
      [&](const Link*) { return ++visits == 2 ? std::string("torn") : std::string(); });
  EXPECT_EQ(fault, "torn");
  EXPECT_EQ(visits, 2);
}

}  // namespace
