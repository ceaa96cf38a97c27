// Construction and destruction of the instance, its symbol vocabulary and its error results.
#include "TonvikBase.h"

#include "TonvikAssert.h"

namespace {

// Indexed by error code; null where the table has no row.
constexpr const char* kErrorMessages[] = {
    "No error",
    nullptr,
    "Instance not initialised - call Init() first",
    "Internal driver error",
    "Invalid parameter type",
    "Invalid parameter value",
    "Parameter value out of range",
    "Unknown message type",
    "Message is not a symbol",
    "An error occurred while unpacking the message",
    "Message property is not an integer",
    "Missing message property",
    "Message property out of range",
    "Input not open",
    "Output not open",
    "Invalid port number",
    "Not enough memory to complete the operation",
    "Input already open",
    "Output already open",
};
constexpr std::uint32_t kErrorMessageCount = sizeof(kErrorMessages) / sizeof(kErrorMessages[0]);
static_assert(kErrorMessageCount == kErrOutputAlreadyOpen + 1, "one row per code up to the last");

constexpr const char* kUnknownErrorMessage = "Unknown error";

}  // namespace

struct TonvikBase::SymbolEntry {
  const char* name;
  LingoSymbol TonvikBase::*handle;
  LingoValue TonvikBase::*value;
};

TonvikBase::TonvikBase(HostValueInterface* valueInterface, HostListInterface* listInterface,
                       HostAllocator* allocator)
    : inputOpen_(false),
      outputOpen_(false),
      valueInterface_(valueInterface),
      listInterface_(listInterface),
      allocator_(allocator),
      typeSymbol_(),
      noteOnSymbol_(),
      channelSymbol_(),
      numberSymbol_(),
      velocitySymbol_(),
      noteOffSymbol_(),
      polyKeyPressureSymbol_(),
      pressureSymbol_(),
      controlChangeSymbol_(),
      valueSymbol_(),
      programChangeSymbol_(),
      channelPressureSymbol_(),
      pitchBendSymbol_(),
      amountSymbol_(),
      localControlOffSymbol_(),
      localControlOnSymbol_(),
      allNotesOffSymbol_(),
      omniModeOffSymbol_(),
      omniModeOnSymbol_(),
      monoModeOnSymbol_(),
      numChannelsSymbol_(),
      polyModeOnSymbol_(),
      clockSymbol_(),
      startSymbol_(),
      stopSymbol_(),
      continueSymbol_(),
      activeSensingSymbol_(),
      systemResetSymbol_(),
      mtcQuarterFrameSymbol_(),
      subFrameSymbol_(),
      songPositionPointerSymbol_(),
      positionSymbol_(),
      songSelectSymbol_(),
      tuneRequestSymbol_(),
      systemExclusiveSymbol_(),
      manufacturerIdSymbol_(),
      dataSymbol_(),
      timestampSymbol_(),
      codeSymbol_(),
      textSymbol_(),
      noneSymbol_(),
      allSymbol_(),
      noteSymbol_(),
      voiceSymbol_(),
      modeSymbol_(),
      realTimeSymbol_(),
      commonSymbol_(),
      acquiredSymbolValueCount_(0),
      inputQueue_(nullptr),
      inputQueueSize_(0),
      inputReadIndex_(0),
      inputWriteIndex_(0),
      sysexWriteIndex_(0),
      sysexTimestamp_(0),
      sysexLastChunkTime_(0),
      sysexInProgress_(false),
      inputOverflowed_(0),
      sysexEndMarks_(nullptr),
      heldMessages_(),
      heldMessageCount_(0) {
  // Runs TonvikBase's own AcquireOrReleaseSymbols: the platform part does not exist yet.
  InitSymbols();
  for (int i = 0; i < kFilterBytes; ++i) {
    statusFilter_[i].store(filterlayout::kEverythingPasses, std::memory_order_relaxed);
    modeFilter_[i].store(filterlayout::kEverythingPasses, std::memory_order_relaxed);
  }
}

TonvikBase::~TonvikBase() {
  if (inputQueue_ != nullptr) {
    allocator_->FreeBlock(inputQueue_);
    inputQueue_ = nullptr;
    sysexEndMarks_ = nullptr;
  }
  ReleaseSymbols();
}

void TonvikBase::InitSymbols() {
  TONVIK_ASSERT(acquiredSymbolValueCount_ == 0);
  AcquireOrReleaseSymbols(true);
}

void TonvikBase::ReleaseSymbols() {
  AcquireOrReleaseSymbols(false);
  TONVIK_ASSERT(acquiredSymbolValueCount_ == 0);
}

HostStatus TonvikBase::AcquireSymbolValue(const char* name, LingoSymbol* handle,
                                          LingoValue* value) {
  valueInterface_->InternSymbol(name, handle);
  HostStatus status = valueInterface_->MakeSymbolValue(*handle, value);
  ++acquiredSymbolValueCount_;
  return status;
}

void TonvikBase::ReleaseSymbolValue(LingoSymbol /*handle*/, LingoValue* value) {
  valueInterface_->ReleaseValue(value);
  --acquiredSymbolValueCount_;
  TONVIK_ASSERT(acquiredSymbolValueCount_ >= 0);
}

void TonvikBase::AcquireOrReleaseSymbols(bool acquire) {
  static constexpr SymbolEntry kValueSymbols[] = {
      {"type", &TonvikBase::typeSymbol_, &TonvikBase::typeValue_},
      {"noteOn", &TonvikBase::noteOnSymbol_, &TonvikBase::noteOnValue_},
      {"channel", &TonvikBase::channelSymbol_, &TonvikBase::channelValue_},
      {"number", &TonvikBase::numberSymbol_, &TonvikBase::numberValue_},
      {"velocity", &TonvikBase::velocitySymbol_, &TonvikBase::velocityValue_},
      {"noteOff", &TonvikBase::noteOffSymbol_, &TonvikBase::noteOffValue_},
      {"polyKeyPressure", &TonvikBase::polyKeyPressureSymbol_, &TonvikBase::polyKeyPressureValue_},
      {"pressure", &TonvikBase::pressureSymbol_, &TonvikBase::pressureValue_},
      {"controlChange", &TonvikBase::controlChangeSymbol_, &TonvikBase::controlChangeValue_},
      {"value", &TonvikBase::valueSymbol_, &TonvikBase::valueValue_},
      {"programChange", &TonvikBase::programChangeSymbol_, &TonvikBase::programChangeValue_},
      {"channelPressure", &TonvikBase::channelPressureSymbol_, &TonvikBase::channelPressureValue_},
      {"pitchBend", &TonvikBase::pitchBendSymbol_, &TonvikBase::pitchBendValue_},
      {"amount", &TonvikBase::amountSymbol_, &TonvikBase::amountValue_},
      {"localControlOff", &TonvikBase::localControlOffSymbol_, &TonvikBase::localControlOffValue_},
      {"localControlOn", &TonvikBase::localControlOnSymbol_, &TonvikBase::localControlOnValue_},
      {"allNotesOff", &TonvikBase::allNotesOffSymbol_, &TonvikBase::allNotesOffValue_},
      {"omniModeOff", &TonvikBase::omniModeOffSymbol_, &TonvikBase::omniModeOffValue_},
      {"omniModeOn", &TonvikBase::omniModeOnSymbol_, &TonvikBase::omniModeOnValue_},
      {"monoModeOn", &TonvikBase::monoModeOnSymbol_, &TonvikBase::monoModeOnValue_},
      {"numChannels", &TonvikBase::numChannelsSymbol_, &TonvikBase::numChannelsValue_},
      {"polyModeOn", &TonvikBase::polyModeOnSymbol_, &TonvikBase::polyModeOnValue_},
      {"clock", &TonvikBase::clockSymbol_, &TonvikBase::clockValue_},
      {"start", &TonvikBase::startSymbol_, &TonvikBase::startValue_},
      {"stop", &TonvikBase::stopSymbol_, &TonvikBase::stopValue_},
      {"continue", &TonvikBase::continueSymbol_, &TonvikBase::continueValue_},
      {"activeSensing", &TonvikBase::activeSensingSymbol_, &TonvikBase::activeSensingValue_},
      {"systemReset", &TonvikBase::systemResetSymbol_, &TonvikBase::systemResetValue_},
      {"mtcQuarterFrame", &TonvikBase::mtcQuarterFrameSymbol_, &TonvikBase::mtcQuarterFrameValue_},
      {"subFrame", &TonvikBase::subFrameSymbol_, &TonvikBase::subFrameValue_},
      {"songPositionPointer", &TonvikBase::songPositionPointerSymbol_,
       &TonvikBase::songPositionPointerValue_},
      {"position", &TonvikBase::positionSymbol_, &TonvikBase::positionValue_},
      {"songSelect", &TonvikBase::songSelectSymbol_, &TonvikBase::songSelectValue_},
      {"tuneRequest", &TonvikBase::tuneRequestSymbol_, &TonvikBase::tuneRequestValue_},
      {"systemExclusive", &TonvikBase::systemExclusiveSymbol_, &TonvikBase::systemExclusiveValue_},
      {"manufacturerID", &TonvikBase::manufacturerIdSymbol_, &TonvikBase::manufacturerIdValue_},
      {"data", &TonvikBase::dataSymbol_, &TonvikBase::dataValue_},
      {"timestamp", &TonvikBase::timestampSymbol_, &TonvikBase::timestampValue_},
      {"code", &TonvikBase::codeSymbol_, &TonvikBase::codeValue_},
      {"text", &TonvikBase::textSymbol_, &TonvikBase::textValue_},
  };
  static constexpr struct {
    const char* name;
    LingoSymbol TonvikBase::*handle;
  } kFilterClassSymbols[] = {
      {"none", &TonvikBase::noneSymbol_},     {"all", &TonvikBase::allSymbol_},
      {"note", &TonvikBase::noteSymbol_},     {"voice", &TonvikBase::voiceSymbol_},
      {"mode", &TonvikBase::modeSymbol_},     {"realTime", &TonvikBase::realTimeSymbol_},
      {"common", &TonvikBase::commonSymbol_},
  };
  static_assert(sizeof(kValueSymbols) / sizeof(kValueSymbols[0]) == 40);
  static_assert(sizeof(kFilterClassSymbols) / sizeof(kFilterClassSymbols[0]) == 7);

  if (acquire) {
    for (const SymbolEntry& entry : kValueSymbols) {
      AcquireSymbolValue(entry.name, &(this->*entry.handle), &(this->*entry.value));
    }
    for (const auto& entry : kFilterClassSymbols) {
      valueInterface_->InternSymbol(entry.name, &(this->*entry.handle));
    }
  } else {
    for (const SymbolEntry& entry : kValueSymbols) {
      ReleaseSymbolValue(this->*entry.handle, &(this->*entry.value));
    }
  }
}

void TonvikBase::AppendIntegerProperty(LingoValue* list, const LingoValue* key,
                                       std::int32_t number) {
  LingoValue temporary;
  valueInterface_->MakeIntegerValue(number, &temporary);
  listInterface_->AppendProperty(list, key, &temporary);
  valueInterface_->ReleaseValue(&temporary);
}

HostStatus TonvikBase::MakeErrorResult(std::int32_t code, LingoValue* result) {
  const auto index = static_cast<std::uint32_t>(code);
  const char* message = index < kErrorMessageCount ? kErrorMessages[index] : nullptr;
  if (message == nullptr) message = kUnknownErrorMessage;
  return MakeErrorResultWithText(code, message, result);
}

HostStatus TonvikBase::MakeErrorResultWithText(std::int32_t code, const char* message,
                                               LingoValue* result) {
  listInterface_->NewPropertyList(result);
  AppendIntegerProperty(result, &codeValue_, code);
  LingoValue text;
  valueInterface_->MakeStringValue(message, &text);
  listInterface_->AppendProperty(result, &textValue_, &text);
  return valueInterface_->ReleaseValue(&text);
}
