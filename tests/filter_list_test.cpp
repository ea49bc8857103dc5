#include "ui/filter_list.h"

#include <gtest/gtest.h>

namespace quillgate {
namespace {

TEST(FilterList, OffersOffAndAllWhenNoRuleIsEnabled) {
  EXPECT_EQ(filterEntries(RuleSet{}),
            (std::vector<FilterEntry>{{L"monitoring off", -2}, {L"All", -1}}));
}

TEST(FilterList, NamesEachEnabledRuleByItsNumberAndKeepsItsIndex) {
  RuleSet rules;
  rules[0] = {true, Protocol::tcp, 8080, L"127.0.0.1", 80};
  rules[1] = {false, Protocol::tcp, 1, L"127.0.0.1", 2};
  rules[4] = {true, Protocol::udp, 5353, L"server.example", 53};
  rules[9] = {true, static_cast<Protocol>(9), 0, L"", 0};
  EXPECT_EQ(filterEntries(rules),
            (std::vector<FilterEntry>{{L"monitoring off", -2},
                                      {L"All", -1},
                                      {L"1) TCP  local 8080 -> 127.0.0.1:80", 0},
                                      {L"5) UDP  local 5353 -> server.example:53", 4},
                                      {L"10) UDP  local 0 -> :0", 9}}));
}

}  // namespace
}  // namespace quillgate
