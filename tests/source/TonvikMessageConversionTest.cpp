// Lingo message lists to MIDI bytes and back: what each type sends, what receiving those bytes
// yields, and the census after every call. The error codes of SendMessage, in their order, and
// system-exclusive messages out and in are run by xtra_messages.ls.
#include <string>
#include <vector>

#include "MessageKinds.h"
#include "TonvikTestPlatform.h"

namespace {

using ShortSend = RecordingPlatform::ShortSend;

class MessageConversionTest : public TonvikFixture {
 protected:
  std::int32_t send(LingoValue message) {
    const std::size_t live = store_.liveValues();
    const std::int32_t result = platform_.SendMessage(&message);
    EXPECT_EQ(store_.liveValues(), live) << store_.print(message);
    return result;
  }
};

// Every kind, channel kinds on channels 1 and 16: the list sends its bytes; receiving them
// yields the list shown; sent back, that list reproduces the bytes where it can.
TEST_F(MessageConversionTest, EveryKindSendsItsBytesAndReceivesAsTheListThatSendsThemAgain) {
  platform_.time = 52013;
  const std::size_t live = store_.liveValues();
  for (const MessageKind& kind : messageKinds()) {
    for (std::uint8_t channel : {1, 16}) {
      if (channel == 16 && !kind.channelKind()) continue;
      std::vector<std::int32_t> values = kind.values;
      ShortSend bytes{kind.status, kind.data1, kind.data2, kind.length};
      std::string received = kind.received;
      if (channel == 16) {
        values[0] = 16;
        bytes.status |= 0x0F;
        if (const auto at = received.find("#channel: 1,"); at != std::string::npos) {
          received.replace(at, 12, "#channel: 16,");
        }
      }
      platform_.shortSends.clear();
      EXPECT_EQ(send(values_.message(kind.type, values)), kErrNone) << received;
      EXPECT_EQ(platform_.shortSends, std::vector<ShortSend>{bytes}) << received;

      platform_.receiveShort(bytes.status, bytes.data1, bytes.data2);
      LingoValue message = store_.makePropertyList();
      platform_.GetNextMessage(&message);
      EXPECT_EQ(store_.print(message), received + ", #timestamp: 52013]");
      EXPECT_FALSE(platform_.MessagesPending()) << received;
      platform_.shortSends.clear();
      const std::int32_t again = send(message);
      const bool same = again == kErrNone && platform_.shortSends == std::vector<ShortSend>{bytes};
      EXPECT_EQ(same, kind.resendable) << received;
      store_.release(message);
      values_.releaseAll();
      EXPECT_EQ(store_.liveValues(), live) << received;
    }
  }
}

TEST_F(MessageConversionTest, FailingHostOperationsGiveTheirCodesAndLoseNoQueuedMessage) {
  using director::HostOperation;
  const std::pair<HostOperation, std::int32_t> reads[] = {
      {HostOperation::GetListItem, kErrUnpackingMessage},
      {HostOperation::ReadSymbolValue, kErrMessageNotSymbol},
      {HostOperation::ReadIntegerValue, kErrPropertyNotInteger},
  };
  for (const auto& [failing, code] : reads) {
    store_.failNext(failing, 1);
    EXPECT_EQ(send(list({sym("noteOn"), num(1), num(60), num(100)})), code);
    EXPECT_TRUE(platform_.shortSends.empty()) << code;
    store_.clearFailures();
  }

  platform_.receiveShort(0x90, 60, 100);
  platform_.receive({0xF0, 0x01, 0x02, 0x03, 0xF7});
  platform_.receiveShort(0xFC);
  platform_.receiveShort(0xFA);
  store_.failNext(HostOperation::AppendProperty, 100);
  EXPECT_EQ(next(), "[:]");
  store_.clearFailures();
  store_.failNext(HostOperation::NewLinearList, 1);
  EXPECT_EQ(next(), "[#type: #systemExclusive, #manufacturerID: 1, #data: <Void>, #timestamp: 0]");
  // GetPendingMessages stops when no message list can be made, and loses nothing.
  store_.failNext(HostOperation::NewPropertyList, 1);
  EXPECT_EQ(pending(), "[]");
  EXPECT_EQ(pending(), "[[#type: #stop, #timestamp: 0], [#type: #start, #timestamp: 0]]");
}

}  // namespace
