// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/OVMutableKeyPathDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kestova::testing {

/// A key-path dictionary beside a plain tree, both led through the same choices. `Choices` has
/// `below(limit)`.
class KeyPathRun {
 public:
  /// Does one operation; answers whether dictionary and tree still agree.
  template <class Choices>
  bool step(Choices& choices) {
    std::vector<std::string> path;
    for (auto length = choices.below(5); length > 0; --length) {
      path.emplace_back(1, static_cast<char>('a' + choices.below(3)));
    }
    const int value = static_cast<int>(choices.below(10));
    switch (choices.below(4)) {
      case 0:
        return agree([&] { dictionary_->removeObjectForKeyPath(pathOf(path)); },
                     [&] {
                       return changeLevel(
                           path, [](Node& level, const auto& key) { level.children.erase(key); });
                     });
      case 1:
        return findsTheSame(path);
      default:
        return agree([&] { dictionary_->setObject_forKeyPath(value, pathOf(path)); },
                     [&] {
                       return changeLevel(path, [&](Node& level, const auto& key) {
                         level.children[key] = Node{value, {}};
                       });
                     });
    }
  }

 private:
  struct Node {
    int value = kLevel;
    std::map<std::string, Node> children;

    bool isLevel() const { return value == kLevel; }
  };
  static constexpr int kLevel = -1;

  static Ref<NSArray> pathOf(const std::vector<std::string>& path) {
    std::vector<id> keys(path.begin(), path.end());
    return NSArray::arrayWithObjects(std::move(keys));
  }

  static id objectOf(const Node& node) {
    if (!node.isLevel()) {
      return node.value;
    }
    const auto dictionary = NSMutableDictionary::dictionary();
    for (const auto& [key, child] : node.children) {
      dictionary->setObject_forKey(objectOf(child), key);
    }
    return dictionary;
  }

  /// Whether the operation threw.
  template <class Operation>
  static bool throws(const Operation& operation) {
    try {
      operation();
      return false;
    } catch (const NSException& exception) {
      return exception.name() == NSInvalidArgumentException;
    }
  }

  template <class Here, class Model>
  bool agree(const Here& here, const Model& model) {
    const bool refused = throws(here);
    return model() == !refused && dictionary_->objectForKeyPath(nullptr)->isEqual(objectOf(root_));
  }

  /// False where the path leads through something that is no level.
  template <class Change>
  bool changeLevel(const std::vector<std::string>& path, const Change& change) {
    if (path.empty()) {
      return true;
    }
    Node* level = &root_;
    for (std::size_t index = 0; index + 1 < path.size(); ++index) {
      if (!level->isLevel()) {
        return false;
      }
      level = &level->children[path[index]];
    }
    if (level->isLevel()) {
      change(*level, path.back());
      return true;
    }
    return false;
  }

  bool findsTheSame(const std::vector<std::string>& path) const {
    const Node* node = &root_;
    for (const std::string& key : path) {
      if (!node->isLevel()) {
        return throws([&] { (void)dictionary_->objectForKeyPath(pathOf(path)); });
      }
      const auto child = node->children.find(key);
      if (child == node->children.end()) {
        return !dictionary_->objectForKeyPath(pathOf(path));
      }
      node = &child->second;
    }
    return dictionary_->objectForKeyPath(pathOf(path))->isEqual(objectOf(*node));
  }

  const Ref<OVMutableKeyPathDictionary> dictionary_ = OVMutableKeyPathDictionary::init();
  Node root_;
};

}  // namespace kestova::testing
