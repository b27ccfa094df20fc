// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>

#include <concepts>
#include <functional>
#include <type_traits>
#include <utility>

namespace kestova {

template <class Signature>
class Block;

/// A block seen as an object, so that it can be kept in a collection. Equality is identity.
class KESTOVA_PLATFORM_EXPORT NSBlock : public NSObject {
  KESTOVA_CLASS(NSBlock, NSObject)

 protected:
  NSBlock() = default;
};

/// A shared callable: what the system's operations take where they call back.
///
///     Block<void(NSUInteger)> progress = [](NSUInteger done) { … };
///     if (progress) progress(42);
///
/// Copying shares the callable; it is destroyed with its last copy, on the thread that drops it.
/// `==` is identity: two copies of one block are the same block, two blocks made from equal lambdas
/// are not. An empty block (default, null, or made from an empty std::function or a null function
/// pointer) is nothing; calling it is a broken contract. Safe to call from several threads where
/// the callable is.
template <class Result, class... Arguments>
class Block<Result(Arguments...)> {
 public:
  Block() noexcept = default;
  Block(std::nullptr_t) noexcept {}

  template <class Callable>
  requires(!std::same_as<std::decay_t<Callable>, Block> &&
           std::is_invocable_r_v<Result, std::decay_t<Callable>&, Arguments...>)
      Block(Callable&& callable) {
    if constexpr (requires { callable == nullptr; }) {
      if (callable == nullptr) {
        return;
      }
    }
    body_ = make<BodyOf<std::decay_t<Callable>>>(std::forward<Callable>(callable));
  }

  Result operator()(Arguments... arguments) const {
    require(body_ != nullptr, "block != nil");
    return body_->call(std::forward<Arguments>(arguments)...);
  }

  explicit operator bool() const noexcept { return body_ != nullptr; }

  friend bool operator==(const Block& a, const Block& b) noexcept { return a.body_ == b.body_; }
  friend bool operator==(const Block& a, std::nullptr_t) noexcept { return a.body_ == nullptr; }

  /// The block as an object; nothing for an empty one. `fromObject` is the way back.
  id object() const noexcept { return body_; }

  /// The block that an object of `object()` stands for; empty for anything else.
  static Block fromObject(const id& object) noexcept {
    Block result;
    result.body_ = cast<Body>(object);
    return result;
  }

 private:
  class Body : public NSBlock {
   public:
    virtual Result call(Arguments... arguments) = 0;
  };

  template <class Callable>
  class BodyOf final : public Body {
   public:
    template <class Source>
    explicit BodyOf(Source&& source) : callable_(std::forward<Source>(source)) {}
    Result call(Arguments... arguments) override {
      return std::invoke(callable_, std::forward<Arguments>(arguments)...);
    }

   private:
    Callable callable_;
  };

  Ref<Body> body_;
};

}  // namespace kestova
