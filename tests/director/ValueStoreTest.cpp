#include "ValueStore.h"

#include <gtest/gtest.h>

namespace director {
namespace {

TEST(ValueStore, SymbolsInternCaseInsensitivelyAndKeepTheFirstSpelling) {
  ValueStore store;
  const LingoSymbol first = store.intern("noteOn");
  EXPECT_EQ(store.intern("NOTEON"), first);
  EXPECT_NE(store.intern("noteOff"), first);
  LingoValue value = store.makeSymbol("NOTEON");
  EXPECT_EQ(store.print(value), "#noteOn");
  store.release(value);
}

TEST(ValueStore, ListsKeepTheirOwnReferencesAndEveryKindPrintsAsTheMessageWindowShowsIt) {
  ValueStore store;
  LingoValue list = store.makeLinearList();
  LingoValue values[] = {store.makeInteger(-3), store.makeFloat(0.5), store.makeVoid(),
                         store.makeLinearList(), store.makePropertyList()};
  for (LingoValue& value : values) store.append(list, value);
  LingoValue key = store.makeSymbol("a");
  LingoValue text = store.makeString("x");
  store.appendProperty(values[4], key, text);
  for (LingoValue* value : {&key, &text, &values[0], &values[1], &values[3], &values[4]}) {
    store.release(*value);
  }
  EXPECT_EQ(store.liveValues(), 7u);  // the list and what it holds, the key included
  EXPECT_EQ(store.print(list), "[-3, 0.5000, <Void>, [], [#a: \"x\"]]");
  // On a property list, GetListItem yields the value.
  LingoValue item;
  ASSERT_EQ(store.listInterface()->GetListItem(&values[4], 1, &item), kHostOk);
  EXPECT_EQ(store.print(item), "\"x\"");
  store.release(item);
  store.release(list);
  EXPECT_EQ(store.liveValues(), 0u);
}

TEST(ValueStore, InjectedFailuresHitExactlyTheNextCalls) {
  ValueStore store;
  HostValueInterface* values = store.valueInterface();
  store.failNext(HostOperation::MakeIntegerValue, 2);
  LingoValue v;
  EXPECT_EQ(values->MakeIntegerValue(1, &v), kHostErrInjected);
  EXPECT_EQ(store.kind(v), ValueKind::Void);
  EXPECT_EQ(values->MakeIntegerValue(1, &v), kHostErrInjected);
  EXPECT_EQ(values->MakeIntegerValue(1, &v), kHostOk);
  values->ReleaseValue(&v);

  store.failAllocations(1);
  EXPECT_EQ(store.allocator()->AllocateBlock(16), nullptr);
  void* block = store.allocator()->AllocateBlock(16);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(store.liveBlocks(), 1u);
  store.allocator()->FreeBlock(block);
  EXPECT_EQ(store.liveBlocks(), 0u);
}

TEST(ValueStore, CallbackHandsOutInterfacesAndCountsTheirReferences) {
  ValueStore store;
  void* out = nullptr;
  ASSERT_EQ(store.callback()->QueryInterface(&kIID_HostValueInterface, &out), kHostOk);
  EXPECT_EQ(out, store.valueInterface());
  EXPECT_EQ(store.interfaceReferences(), 1);
  static_cast<HostValueInterface*>(out)->Release();
  EXPECT_EQ(store.interfaceReferences(), 0);
  const HostInterfaceId unknown{{1, 2, 3, 4}};
  EXPECT_EQ(store.callback()->QueryInterface(&unknown, &out), kHostErrNoInterface);
  EXPECT_EQ(out, nullptr);
}

TEST(ValueStoreDeathTest, ReleasingAValueTwiceIsCaught) {
  ValueStore store;
  LingoValue value = store.makeInteger(1);
  LingoValue copy = value;
  store.release(value);
  EXPECT_DEATH(store.release(copy), "not alive");
}

}  // namespace
}  // namespace director
