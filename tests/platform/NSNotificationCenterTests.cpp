// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNotificationCenter.h>
#include <KestovaPlatform/NSOperationQueue.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "RandomRun.h"
#include "Stress.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace kestova::testing {
namespace {

/// Writes down what it hears.
class Listener final : public NSObject {
 public:
  void heard(const Ref<NSNotification>& notification) {
    log += notification->name() ? notification->name()->displayUTF8() : "-";
  }
  void heardSomething() { log += '!'; }
  void heardAnything(const id& notification) {
    log += cast<NSNotification>(notification) ? '?' : '-';
  }
  bool answersToo() {
    log += 'b';
    return true;
  }

  std::string log;
};

class NSNotificationCenterTests : public ::testing::Test {
 protected:
  id addBlock(NSNotificationCenter::Callback block, const Ref<NSString>& name = "a",
              NSObject* object = nullptr) {
    return centre->addObserverForName_object_queue_usingBlock(name, object, nullptr,
                                                              std::move(block));
  }

  /// An observer that writes a letter.
  id addLetter(char letter, const Ref<NSString>& name = "a", NSObject* object = nullptr) {
    return addBlock([this, letter](const Ref<NSNotification>&) { log += letter; }, name, object);
  }

  /// What is written when a notification is posted.
  std::string posted(const Ref<NSString>& name = "a", const id& object = nullptr) {
    log.clear();
    centre->postNotificationName_object(name, object);
    return log;
  }

  const Ref<NSNotificationCenter> centre = NSNotificationCenter::init();
  std::string log;
};

using NSNotificationCenterDeathTest = NSNotificationCenterTests;

TEST(NSNotificationTests, HoldsNameObjectAndUserInfo) {
  const id object = counted(1);
  const auto userInfo = NSDictionary::of({{"key", 42}});
  const auto notification =
      NSNotification::notificationWithName_object_userInfo("saved", object, userInfo);
  EXPECT_EQ(notification->name(), "saved");
  EXPECT_EQ(notification->object(), object);
  EXPECT_TRUE(notification->userInfo()->isEqual(userInfo));
  EXPECT_EQ(object->retainCount(), 2U);
  EXPECT_EQ(notification->copy(), notification);
}

TEST(NSNotificationTests, EqualOnesHaveEqualNamesAndUserInfosAndOneObject) {
  const id object = counted(1);
  const auto make = [](const Ref<NSString>& name, const id& object, int number) {
    return NSNotification::notificationWithName_object_userInfo(
        name, object, NSDictionary::of({{"key", number}}));
  };
  const auto one = make("saved", object, 1);
  EXPECT_TRUE(one->isEqual(make("saved", object, 1)));
  EXPECT_EQ(one->hash(), make("saved", object, 1)->hash());
  EXPECT_FALSE(one->isEqual(make("moved", object, 1)));
  EXPECT_FALSE(one->isEqual(make("saved", counted(1), 1)));
  EXPECT_FALSE(one->isEqual(make("saved", object, 2)));
  EXPECT_FALSE(one->isEqual(NSNotification::notificationWithName_object("saved", object)));
  EXPECT_FALSE(one->isEqual(nullptr));
}

TEST(NSNotificationTests, DescribesWhatItHas) {
  EXPECT_EQ(NSNotification::notificationWithName_object("saved", counted(7))->description(),
            "NSNotification {name = saved; object = 7}");
  EXPECT_EQ(NSNotification::notificationWithName_object(nullptr, nullptr)->description(),
            "NSNotification {}");
}

TEST(NSNotificationTests, ItsNameStaysWhenTheTextChanges) {
  const auto name = NSMutableString::stringWithString("saved");
  const auto notification = NSNotification::notificationWithName_object(name, nullptr);
  name->appendString("!");
  EXPECT_EQ(notification->name(), "saved");
}

TEST_F(NSNotificationCenterTests, TheDefaultOneIsAlwaysTheSame) {
  EXPECT_EQ(NSNotificationCenter::defaultCenter(), NSNotificationCenter::defaultCenter());
  EXPECT_NE(NSNotificationCenter::defaultCenter(), centre);
}

TEST_F(NSNotificationCenterTests, ASelectorTakesTheNotificationOrNothing) {
  const auto listener = make<Listener>();
  for (const SEL selector : {sel<&Listener::heard>(), sel<&Listener::heardSomething>(),
                             sel<&Listener::heardAnything>(), sel<&Listener::answersToo>()}) {
    centre->addObserver_selector_name_object(listener.get(), selector, "a", nullptr);
  }
  centre->postNotificationName_object("a", nullptr);
  EXPECT_EQ(listener->log, "a!?b");
}

TEST_F(NSNotificationCenterTests, AnObserverThatIsAddedTwiceIsCalledTwice) {
  const auto listener = make<Listener>();
  centre->addObserver_selector_name_object(listener.get(), sel<&Listener::heard>(), "a", nullptr);
  centre->addObserver_selector_name_object(listener.get(), sel<&Listener::heard>(), "a", nullptr);
  centre->postNotificationName_object("a", nullptr);
  EXPECT_EQ(listener->log, "aa");
  centre->removeObserver(listener.get());
  centre->postNotificationName_object("a", nullptr);
  EXPECT_EQ(listener->log, "aa");
}

TEST_F(NSNotificationCenterTests, ObserversAndTheirObjectsAreUnowned) {
  const auto listener = make<Listener>();
  const id object = counted(1);
  centre->addObserver_selector_name_object(listener.get(), sel<&Listener::heard>(), "a",
                                           object.get());
  EXPECT_EQ(listener->retainCount(), 1U);
  EXPECT_EQ(object->retainCount(), 1U);
  centre->removeObserver(listener.get());
}

TEST_F(NSNotificationCenterTests, NullMeansAnyNameAndAnyObject) {
  const id x = counted(1);
  const id y = counted(1);
  const std::array tokens = {addLetter('*', nullptr), addLetter('n', "a"),
                             addLetter('o', nullptr, x.get()), addLetter('b', "a", x.get())};
  EXPECT_EQ(posted("a", x), "*nob");
  EXPECT_EQ(posted("a", y), "*n");
  EXPECT_EQ(posted("a"), "*n");
  EXPECT_EQ(posted("b", x), "*o");
  EXPECT_EQ(posted("b"), "*");
  EXPECT_EQ(posted(nullptr, x), "*o");
  EXPECT_EQ(posted(nullptr), "*");
}

TEST_F(NSNotificationCenterTests, NamesAreComparedAsText) {
  (void)addLetter('n', NSString::stringWithUTF16Storage(u"name"));
  EXPECT_EQ(posted(NSString::stringWithEightBitStorage("name")), "n");
  const auto name = NSMutableString::stringWithString("mutable");
  (void)addLetter('m', name);
  name->appendString("!");
  EXPECT_EQ(posted("mutable"), "m");
}

TEST_F(NSNotificationCenterTests, CallsInTheOrderOfAddingWhateverWasAskedFor) {
  const id x = counted(1);
  const std::array<std::pair<const char*, NSObject*>, 4> interests = {
      {{nullptr, nullptr}, {"a", nullptr}, {nullptr, x.get()}, {"a", x.get()}}};
  std::string expected;
  for (int i = 0; i < 24; ++i) {
    const auto& [name, object] = interests[static_cast<std::size_t>(i * 7 % 4)];
    const char letter = static_cast<char>('a' + i);
    (void)addLetter(letter, name, object);
    expected += letter;
  }
  EXPECT_EQ(posted("a", x), expected);
}

TEST_F(NSNotificationCenterTests, HandsOutTheNotificationAsItWasPosted) {
  Ref<NSNotification> heard;
  (void)addBlock([&](const Ref<NSNotification>& notification) { heard = notification; });
  const auto notification = NSNotification::notificationWithName_object("a", counted(1));
  centre->postNotification(notification);
  EXPECT_EQ(heard, notification);
  centre->postNotificationName_object_userInfo("a", "object", NSDictionary::of({{"k", "v"}}));
  EXPECT_TRUE(heard->object()->isEqual("object"));
  EXPECT_TRUE(heard->userInfo()->isEqual(NSDictionary::of({{"k", "v"}})));
  centre->postNotificationName_object("a", nullptr);
  EXPECT_EQ(heard->object(), nullptr);
  EXPECT_EQ(heard->userInfo(), nullptr);
}

TEST_F(NSNotificationCenterTests, RemovesByNameAndObjectWhereTheseWereAskedFor) {
  const auto listener = make<Listener>();
  const id x = counted(1);
  const auto add = [&](const Ref<NSString>& name, NSObject* object) {
    centre->addObserver_selector_name_object(listener.get(), sel<&Listener::heard>(), name, object);
  };
  const auto heard = [&] {
    listener->log.clear();
    centre->postNotificationName_object("a", x);
    return listener->log;
  };
  add("a", nullptr);
  add("a", x.get());
  add(nullptr, x.get());
  add(nullptr, nullptr);
  EXPECT_EQ(heard(), "aaaa");
  centre->removeObserver_name_object(listener.get(), "b", nullptr);
  EXPECT_EQ(heard(), "aaaa");
  centre->removeObserver_name_object(listener.get(), "a", x.get());
  EXPECT_EQ(heard(), "aaa");
  centre->removeObserver_name_object(listener.get(), nullptr, x.get());
  EXPECT_EQ(heard(), "aa");
  centre->removeObserver_name_object(listener.get(), "a", nullptr);
  EXPECT_EQ(heard(), "a");
  centre->removeObserver_name_object(listener.get(), nullptr, nullptr);
  EXPECT_EQ(heard(), "");
}

TEST_F(NSNotificationCenterTests, RemovingWhatIsNotThereIsNoFailure) {
  centre->removeObserver(nullptr);
  centre->removeObserver(make<Listener>().get());
  centre->removeObserver_name_object(make<Listener>().get(), "a", nullptr);
  EXPECT_EQ(posted(), "");
}

TEST_F(NSNotificationCenterTests, ATokenStandsForItsBlock) {
  const id first = addLetter('1');
  const id second = addLetter('2');
  EXPECT_NE(first, second);
  centre->removeObserver(first.get());
  EXPECT_EQ(posted(), "2");
  centre->removeObserver_name_object(second.get(), "a", nullptr);
  EXPECT_EQ(posted(), "");
}

TEST_F(NSNotificationCenterTests, ABlockIsHeldUntilItIsRemoved) {
  const int before = CountingObject::alive();
  const id token = addBlock([held = counted(1)](const Ref<NSNotification>&) {});
  EXPECT_EQ(CountingObject::alive(), before + 1);
  centre->removeObserver(token.get());
  EXPECT_EQ(CountingObject::alive(), before);
}

TEST_F(NSNotificationCenterTests, WhatABlockLetsGoOfMayUseTheCentre) {
  class Remover final : public NSObject {
   public:
    Remover(Ref<NSNotificationCenter> centre, id other)
        : centre_(std::move(centre)), other_(std::move(other)) {}
    ~Remover() override { centre_->removeObserver(other_.get()); }

   private:
    Ref<NSNotificationCenter> centre_;
    id other_;
  };
  const id other = addLetter('o');
  const id token = addBlock([held = make<Remover>(centre, other)](const Ref<NSNotification>&) {});
  centre->removeObserver(token.get());
  EXPECT_EQ(posted(), "");
}

TEST_F(NSNotificationCenterTests, WhatIsRemovedWithinAPostingIsNotCalledAnyMore) {
  std::vector<id> tokens;
  const auto removeAll = [&](const Ref<NSNotification>&) {
    log += 'r';
    for (const id& token : tokens) {
      centre->removeObserver(token.get());
    }
  };
  tokens.push_back(addLetter('1'));
  tokens.push_back(addBlock(removeAll));
  tokens.push_back(addLetter('2'));
  tokens.push_back(addLetter('3', nullptr));
  EXPECT_EQ(posted(), "1r");
  EXPECT_EQ(posted(), "");
}

TEST_F(NSNotificationCenterTests, WhatIsAddedWithinAPostingHearsOfTheNextOne) {
  (void)addBlock([&](const Ref<NSNotification>&) {
    log += 'a';
    (void)addLetter('n');
  });
  EXPECT_EQ(posted(), "a");
  EXPECT_EQ(posted(), "an");
  EXPECT_EQ(posted(), "ann");
}

TEST_F(NSNotificationCenterTests, AnObserverMayPostFromWithinAPosting) {
  int depth = 0;
  (void)addBlock([&](const Ref<NSNotification>&) {
    log += std::to_string(depth);
    if (depth < 3) {
      ++depth;
      centre->postNotificationName_object("a", nullptr);
    }
  });
  (void)addLetter('x');
  EXPECT_EQ(posted(), "0123xxxx");
}

TEST_F(NSNotificationCenterTests, AnExceptionLeavesThePosting) {
  (void)addLetter('1');
  const id token =
      addBlock([](const Ref<NSNotification>&) { throw std::runtime_error("observer"); });
  (void)addLetter('2');
  EXPECT_THROW(centre->postNotificationName_object("a", nullptr), std::runtime_error);
  EXPECT_EQ(log, "1");
  centre->removeObserver(token.get());
  EXPECT_EQ(posted(), "12");
}

TEST_F(NSNotificationCenterTests, ACentreMayGoWithinItsPosting) {
  auto own = NSNotificationCenter::init();
  const auto add = [&](NSNotificationCenter::Callback block) {
    (void)own->addObserverForName_object_queue_usingBlock("a", nullptr, nullptr, std::move(block));
  };
  add([&](const Ref<NSNotification>&) {
    log += '1';
    own = nullptr;
  });
  add([&](const Ref<NSNotification>&) { log += '2'; });
  NSNotificationCenter* unowned = own.get();
  unowned->postNotificationName_object("a", nullptr);
  EXPECT_EQ(log, "12");
}

TEST_F(NSNotificationCenterTests, ABlockWithAQueueHasRunThereWhenThePostingReturns) {
  const auto queue = NSOperationQueue::init();
  Ref<NSOperationQueue> seen;
  (void)centre->addObserverForName_object_queue_usingBlock(
      "a", nullptr, queue, [&](const Ref<NSNotification>& notification) {
        seen = NSOperationQueue::currentQueue();
        log += notification->name()->displayUTF8();
      });
  EXPECT_EQ(posted(), "a");
  EXPECT_EQ(seen, queue);
}

TEST_F(NSNotificationCenterTests, APostingFromTheQueueItselfCallsTheBlockAtOnce) {
  const auto queue = NSOperationQueue::init();
  queue->setMaxConcurrentOperationCount(1);
  (void)centre->addObserverForName_object_queue_usingBlock(
      "a", nullptr, queue, [&](const Ref<NSNotification>&) { log += 'q'; });
  queue->addOperationWithBlock([&] {
    log += '(';
    centre->postNotificationName_object("a", nullptr);
    log += ')';
  });
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(log, "(q)");
}

TEST_F(NSNotificationCenterTests, RandomAddingAndRemovingGivesWhatAPlainListGives) {
  struct Entry {
    id token;
    int name;
    int object;
    int number;
  };
  const std::array<Ref<NSString>, 3> names = {nullptr, "a", "b"};
  const std::array<id, 3> objects = {nullptr, counted(1), counted(2)};
  RandomRun random;
  std::vector<Entry> model;
  std::vector<int> heard;
  int number = 0;
  const auto choose = [&](std::size_t count) { return static_cast<int>(random.below(count)); };
  for (int step = 0; step < 20000; ++step) {
    const int name = choose(3);
    const int object = choose(3);
    if (const auto action = choose(10); action < 4) {
      const int own = number++;
      const id token = addBlock([&heard, own](const Ref<NSNotification>&) { heard.push_back(own); },
                                names[static_cast<std::size_t>(name)],
                                objects[static_cast<std::size_t>(object)].get());
      model.push_back({token, name, object, own});
    } else if (action < 8 && !model.empty()) {
      const auto place = model.begin() + choose(model.size());
      centre->removeObserver(place->token.get());
      model.erase(place);
    } else {
      heard.clear();
      centre->postNotificationName_object(names[static_cast<std::size_t>(name)],
                                          objects[static_cast<std::size_t>(object)]);
      std::vector<int> expected;
      for (const Entry& entry : model) {
        if ((entry.name == 0 || entry.name == name) &&
            (entry.object == 0 || entry.object == object)) {
          expected.push_back(entry.number);
        }
      }
      ASSERT_EQ(heard, expected) << "step " << step;
    }
  }
}

TEST_F(NSNotificationCenterTests, EachOfManyInterestsIsHeardOfUntilItIsRemoved) {
  struct Entry {
    id token;
    Ref<NSString> name;
    id object;
  };
  std::vector<Entry> entries;
  int heard = 0;
  for (int number = 0; number < 1000; ++number) {
    const bool isNamed = number % 3 != 0;
    const Ref<NSString> name = isNamed ? NSString::stringWithFormat("name %d", number) : nullptr;
    const id object = number % 3 != 1 ? counted(number) : nullptr;
    const id token = addBlock([&](const Ref<NSNotification>&) { ++heard; }, name, object.get());
    entries.push_back({token, name, object});
  }
  const auto callsOf = [&](const Entry& entry) {
    heard = 0;
    centre->postNotificationName_object(entry.name, entry.object);
    return heard;
  };
  for (const Entry& entry : entries) {
    ASSERT_EQ(callsOf(entry), 1);
  }
  for (const Entry& entry : entries) {
    centre->removeObserver(entry.token.get());
    ASSERT_EQ(callsOf(entry), 0);
    ASSERT_EQ(callsOf(entries.back()), entry.token == entries.back().token ? 0 : 1);
  }
}

TEST_F(NSNotificationCenterTests, ThreadsPostWhileObserversComeAndGo) {
  const int before = CountingObject::alive();
  {
    const auto listener = make<Listener>();
    std::atomic<int> calls{0};
    const StressTime time;
    Threads threads;
    threads.start(3, [&](int) {
      while (!time.isOver()) {
        centre->postNotificationName_object("a", nullptr);
      }
    });
    threads.start(5, [&](int) {
      while (!time.isOver()) {
        const id token =
            addBlock([&calls, held = counted(1)](const Ref<NSNotification>&) { ++calls; });
        centre->postNotificationName_object("a", nullptr);
        centre->removeObserver(token.get());
      }
    });
    threads.join();
    EXPECT_GT(calls.load(), 0);
  }
  EXPECT_EQ(CountingObject::alive(), before);
  EXPECT_EQ(posted(), "");
}

TEST_F(NSNotificationCenterTests, CentresComeAndGoWhileThreadsPost) {
  const int before = CountingObject::alive();
  const StressTime time;
  {
    Threads threads;
    threads.start(8, [&](int number) {
      while (!time.isOver()) {
        const auto own = NSNotificationCenter::init();
        (void)own->addObserverForName_object_queue_usingBlock(
            "a", nullptr, nullptr, [held = counted(number)](const Ref<NSNotification>&) {});
        std::thread poster([own] { own->postNotificationName_object("a", nullptr); });
        own->postNotificationName_object("a", nullptr);
        poster.join();
      }
    });
  }
  EXPECT_EQ(CountingObject::alive(), before);
}

TEST_F(NSNotificationCenterDeathTest, WhatIsNeededMustBeThere) {
  const auto listener = make<Listener>();
  EXPECT_DEATH(
      centre->addObserver_selector_name_object(nullptr, sel<&Listener::heard>(), "a", nullptr),
      "observer != nil");
  EXPECT_DEATH(centre->addObserver_selector_name_object(listener.get(), nullptr, "a", nullptr),
               "selector != nil");
  EXPECT_DEATH(centre->addObserver_selector_name_object(NSString::string().get(),
                                                        sel<&Listener::heard>(), "a", nullptr),
               "the observer has the operation");
  EXPECT_DEATH((void)addBlock(nullptr), "block != nil");
  EXPECT_DEATH(centre->postNotification(nullptr), "notification != nil");
}

}  // namespace
}  // namespace kestova::testing
