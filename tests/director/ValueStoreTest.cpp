// The value store's own guard. What it does for the Xtra (symbols in any case, lists, property
// lists read by position, failures on the next calls, interface references) is exercised by every
// test that counts values, by the fault sweep and by the scripts.
#include "ValueStore.h"

#include <gtest/gtest.h>

namespace director {
namespace {

TEST(ValueStoreDeathTest, ReleasingAValueTwiceIsCaught) {
  ValueStore store;
  LingoValue value = store.makeInteger(1);
  LingoValue copy = value;
  store.release(value);
  EXPECT_DEATH(store.release(copy), "not alive");
}

}  // namespace
}  // namespace director
