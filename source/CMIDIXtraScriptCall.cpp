#include "CMIDIXtraScript.h"
#include "XtraMethodTable.h"

namespace {

constexpr int kFirstArgument = 1;
constexpr int kSecondArgument = 2;
// Lingo counts ports from 1, the instance from 0.
constexpr std::int32_t kLingoPortBase = 1;

// Read only by methods that declare the argument: the host supplies exactly those.
const LingoValue* argument(const MoaMmCallInfo* callInfo, int position) {
  return &callInfo->arguments[position];
}

// Every script port number below the first maps to the same invalid index; subtracting the base
// from the most negative integer would overflow.
std::int32_t zeroBasedPort(std::int32_t lingoPort) {
  return lingoPort < kLingoPortBase ? -1 : lingoPort - kLingoPortBase;
}

HostStatus makeFlag(HostValueInterface* values, bool flag, LingoValue* result) {
  return values->MakeIntegerValue(flag ? 1 : 0, result);
}

}  // namespace

HostStatus CMIDIXtraScript_IMoaMmXScript::Call(MoaMmCallInfo* callInfo) {
  const std::int32_t selector = callInfo->methodSelector;
  if (selector < kMethodInit || selector > kMethodSendMessage) return kHostOk;
  CMIDIXtraScript* self = script();
  TonvikBase* instance = self->instance_;
  if (instance == nullptr) return kHostOk;

  HostValueInterface* values = self->valueInterface_;
  HostListInterface* lists = self->listInterface_;
  LingoValue* result = &callInfo->resultValue;

  switch (static_cast<MethodSelector>(selector)) {
    case kMethodInit:
      instance->MakeErrorResult(instance->Init(), result);
      break;
    case kMethodGetTime:
      return values->MakeIntegerValue(instance->GetTime(), result);
    case kMethodResetTimer:
      instance->ResetTimer();
      break;
    case kMethodGetInputPorts:
      lists->NewLinearList(result);
      instance->GetInputPorts(result);
      break;
    case kMethodOpenInput: {
      std::int32_t port = 0;
      std::int32_t bufSize = 0;
      if (HostStatus status = values->ReadIntegerValue(argument(callInfo, kFirstArgument), &port);
          status != kHostOk) {
        return status;
      }
      port = zeroBasedPort(port);
      const LingoValue* second = argument(callInfo, kSecondArgument);
      if (HostStatus status = values->ReadIntegerValue(second, &bufSize); status != kHostOk) {
        return status;
      }
      instance->MakeErrorResult(instance->OpenInput(port, bufSize), result);
      break;
    }
    case kMethodCloseInput:
      instance->MakeErrorResult(instance->CloseInput(), result);
      break;
    case kMethodSetSystemFilter:
      instance->MakeErrorResult(instance->SetSystemFilter(argument(callInfo, kFirstArgument)),
                                result);
      break;
    case kMethodSetChannelFilter:
      instance->MakeErrorResult(instance->SetChannelFilter(argument(callInfo, kFirstArgument),
                                                           argument(callInfo, kSecondArgument)),
                                result);
      break;
    case kMethodMessagesPending:
      makeFlag(values, instance->MessagesPending(), result);
      break;
    case kMethodGetNextMessage:
      lists->NewPropertyList(result);
      instance->GetNextMessage(result);
      break;
    case kMethodGetPendingMessages:
      lists->NewLinearList(result);
      instance->GetPendingMessages(result);
      break;
    case kMethodInputOverflowed:
      makeFlag(values, instance->InputOverflowed(), result);
      break;
    case kMethodFlushInput:
      instance->FlushInput();
      break;
    case kMethodGetOutputPorts:
      lists->NewLinearList(result);
      instance->GetOutputPorts(result);
      break;
    case kMethodOpenOutput: {
      std::int32_t port = 0;
      if (HostStatus status = values->ReadIntegerValue(argument(callInfo, kFirstArgument), &port);
          status != kHostOk) {
        return status;
      }
      instance->MakeErrorResult(instance->OpenOutput(zeroBasedPort(port)), result);
      break;
    }
    case kMethodCloseOutput:
      instance->MakeErrorResult(instance->CloseOutput(), result);
      break;
    case kMethodSendMessage:
      instance->MakeErrorResult(instance->SendMessage(argument(callInfo, kFirstArgument)), result);
      break;
    case kMethodNew:
      break;
  }
  return kHostOk;
}
