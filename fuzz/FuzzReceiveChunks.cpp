// Arbitrary short messages and system-exclusive chunks straight into the receive operations,
// interleaved with reads, flushes, overflow checks and reopening, on a small ring that wraps
// often. After each input the census must be back where it started.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "FuzzInput.h"
#include "MidiBytes.h"
#include "QueueView.h"
#include "RecordingPlatform.h"
#include "ValueStore.h"

namespace {

// clang-format off
enum Operation : std::uint8_t {
  kShort, kSysexStart, kSysexContinuation, kReadOne, kReadAll, kFlush, kOverflowed, kReopen,
  kOperationCount
};
// clang-format on

constexpr std::uint32_t kSmallQueue = 1024;
constexpr std::size_t kLargestChunk = 1500;  // larger than the ring
constexpr std::uint32_t kReopenSizes[] = {0, 1024, 1100, 4096};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  director::ValueStore store;
  {
    RecordingPlatform instance(store);
    const std::size_t symbolValues = store.liveValues();
    fuzzcheck::expect(instance.OpenInput(0, kSmallQueue) == kErrNone, "the queue opens");
    FuzzInput input(data, size);
    std::uint32_t time = 0;
    while (!input.empty()) {
      time += input.byte();
      instance.time = static_cast<std::int32_t>(time);  // every record is stamped with it
      const auto operation = static_cast<Operation>(input.byte() % kOperationCount);
      switch (operation) {
        case kShort: {
          // The input port cuts messages at status bytes, so data bytes stay below 0x80.
          const std::uint8_t status = input.byte();
          const std::uint8_t data1 = input.byte() & midi::kDataMask;
          instance.receiveShort(status, data1, input.byte() & midi::kDataMask);
          break;
        }
        case kSysexStart:
        case kSysexContinuation: {
          auto chunk = input.bytes(input.byte() * kLargestChunk / 255 + 1);
          if (chunk.empty()) break;
          // The port starts a message only with a packet that begins with 0xF0, and continues
          // it with one that begins with a data byte.
          std::vector<std::uint8_t> bytes(chunk.begin(), chunk.end());
          if (operation == kSysexStart) {
            bytes.front() = midi::kSysexStart;
            instance.receive(bytes);
          } else {
            bytes.front() &= midi::kDataMask;
            instance.receiveMore(bytes);
          }
          break;
        }
        case kReadOne:
          fuzzcheck::readOne(instance, store);
          break;
        case kReadAll:
          fuzzcheck::readAll(instance, store);
          break;
        case kFlush:
          instance.FlushInput();
          fuzzcheck::expect(!instance.MessagesPending(), "a flush empties the queue");
          break;
        case kOverflowed:
          if (instance.InputOverflowed()) {
            fuzzcheck::expect(!instance.InputOverflowed(), "the overflow flag clears on reading");
          }
          break;
        case kReopen:
          instance.CloseInput();
          fuzzcheck::expect(
              instance.OpenInput(0, kReopenSizes[input.byte() % std::size(kReopenSizes)]) == 0,
              "the queue reopens");
          break;
        case kOperationCount:
          break;
      }
      fuzzcheck::expect(store.liveValues() == symbolValues, "every value made is released");
    }
    fuzzcheck::readAll(instance, store);
  }
  fuzzcheck::expect(store.liveValues() == 0 && store.liveBlocks() == 0, "the census balances");
  return 0;
}
