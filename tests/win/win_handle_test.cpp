// The owner of Windows' resources: everything is released once, and nothing twice.

#include "core/win_handle.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace launcher {
namespace {

/// Resources are numbers; releasing one is noted.
struct Counted {
  using Type = int;
  static int none() { return -1; }
  static void release(int value) { released.push_back(value); }
  static inline std::vector<int> released;
};
using Owner = UniqueResource<Counted>;
using Numbers = std::vector<int>;

class WinHandle : public ::testing::Test {
 protected:
  WinHandle() { Counted::released.clear(); }
};

TEST_F(WinHandle, isReleasedOnceAtTheEnd) {
  {
    const Owner owner(7);
    EXPECT_TRUE(static_cast<bool>(owner));
    EXPECT_EQ(owner.get(), 7);
    EXPECT_EQ(Counted::released, Numbers{});
  }
  EXPECT_EQ(Counted::released, Numbers{7});
}

TEST_F(WinHandle, noneIsNeverReleased) {
  {
    const Owner empty;
    const Owner none(Counted::none());
    EXPECT_FALSE(static_cast<bool>(empty));
    EXPECT_FALSE(static_cast<bool>(none));
    EXPECT_EQ(empty.get(), -1);
  }
  EXPECT_EQ(Counted::released, Numbers{});
}

TEST_F(WinHandle, zeroIsAResourceUnlessTheTraitsSayOtherwise) {
  { const Owner owner(0); }
  EXPECT_EQ(Counted::released, Numbers{0});
}

TEST_F(WinHandle, movedOutHoldsNothing) {
  {
    Owner first(7);
    const Owner second(std::move(first));
    EXPECT_FALSE(static_cast<bool>(first));
    EXPECT_EQ(second.get(), 7);
    EXPECT_EQ(Counted::released, Numbers{});
  }
  EXPECT_EQ(Counted::released, Numbers{7});
}

TEST_F(WinHandle, moveAssignmentReleasesWhatItHeld) {
  {
    Owner target(1);
    Owner source(2);
    target = std::move(source);
    EXPECT_EQ(Counted::released, Numbers{1});
    EXPECT_EQ(target.get(), 2);
    EXPECT_FALSE(static_cast<bool>(source));
  }
  EXPECT_EQ(Counted::released, (Numbers{1, 2}));
}

TEST_F(WinHandle, moveAssignmentOfNothingReleases) {
  Owner target(1);
  target = Owner();
  EXPECT_EQ(Counted::released, Numbers{1});
  EXPECT_FALSE(static_cast<bool>(target));
}

TEST_F(WinHandle, assignmentToItselfKeepsTheResource) {
  {
    Owner owner(3);
    Owner& same = owner;
    owner = std::move(same);
    EXPECT_EQ(owner.get(), 3);
    EXPECT_EQ(Counted::released, Numbers{});
  }
  EXPECT_EQ(Counted::released, Numbers{3});
}

TEST_F(WinHandle, resetReleasesOnce) {
  Owner owner(5);
  owner.reset();
  owner.reset();
  EXPECT_FALSE(static_cast<bool>(owner));
  EXPECT_EQ(Counted::released, Numbers{5});
}

TEST_F(WinHandle, laterOwnersGoFirst) {
  {
    const Owner outer(1);
    const Owner inner(2);
  }
  EXPECT_EQ(Counted::released, (Numbers{2, 1}));
}

// The kinds and what each takes for "none".
TEST_F(WinHandle, noneOfEachKind) {
  EXPECT_EQ(ProcessTraits::none(), nullptr);
  EXPECT_EQ(FileTraits::none(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(ListingTraits::none(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(SocketTraits::none(), INVALID_SOCKET);
  EXPECT_EQ(WinsockTraits::none(), false);
  EXPECT_EQ(InternetTraits::none(), nullptr);
  EXPECT_EQ(RegistryKeyTraits::none(), nullptr);
}

TEST_F(WinHandle, kernelHandleIsClosed) {
  HANDLE raw = nullptr;
  {
    const UniqueProcess event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    raw = event.get();
    DWORD flags = 0;
    EXPECT_TRUE(GetHandleInformation(raw, &flags));
  }
  DWORD flags = 0;
  EXPECT_FALSE(GetHandleInformation(raw, &flags));
}

}  // namespace
}  // namespace launcher
