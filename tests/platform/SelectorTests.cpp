// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/Selector.h>
#include <gtest/gtest.h>

#include <array>

namespace kestova {
namespace {

class Calculator : public NSObject {
 public:
  void clear() { total_ = 0; }
  void add(int number) { total_ += number; }
  int total() const { return total_; }
  Ref<NSString> join(const Ref<NSString>& a, const Ref<NSString>& b) const {
    return NSString::stringWithFormat("%@+%@", a, b);
  }

 private:
  int total_ = 0;
};

TEST(SelectorTests, EqualFunctionsHaveOneAddress) {
  EXPECT_EQ(sel<&Calculator::clear>(), sel<&Calculator::clear>());
  EXPECT_NE(sel<&Calculator::clear>(), sel<&Calculator::add>());
}

TEST(SelectorTests, AFunctionIsPerformedByItsSelector) {
  const auto calculator = make<Calculator>();
  const std::array<id, 1> five = {5};
  EXPECT_EQ(sel<&Calculator::add>()->perform(*calculator, five), nullptr);
  EXPECT_TRUE(sel<&Calculator::total>()->perform(*calculator, {})->isEqual(5));
  (void)sel<&Calculator::clear>()->perform(*calculator, five);
  EXPECT_EQ(calculator->total(), 0);
}

TEST(SelectorTests, MissingArgumentsAreNothing) {
  const auto calculator = make<Calculator>();
  const std::array<id, 1> one = {"a"};
  EXPECT_TRUE(sel<&Calculator::join>()->perform(*calculator, one)->isEqual("a+(null)"));
}

TEST(SelectorTests, ASelectorKnowsWhoAnswersIt) {
  EXPECT_TRUE(sel<&Calculator::add>()->isAnsweredBy(*make<Calculator>()));
  EXPECT_FALSE(sel<&Calculator::add>()->isAnsweredBy(*NSString::string()));
  EXPECT_EQ(sel<&Calculator::join>()->arity, 2U);
}

}  // namespace
}  // namespace kestova
