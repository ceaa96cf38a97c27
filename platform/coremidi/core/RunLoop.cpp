#include "RunLoop.h"

#include "CallCounter.h"
#include "MidiSystem.h"
#include "Strings.h"

extern "C" {

const CFStringRef kCFRunLoopDefaultMode = coremidi::makePermanentString("kCFRunLoopDefaultMode");

// There is one mode: MIDI notifications are delivered in any.
CFRunLoopRunResult CFRunLoopRunInMode(CFStringRef, CFTimeInterval seconds,
                                      Boolean returnAfterSourceHandled) {
  coremidi::countCall(coremidi::ApiFunction::CFRunLoopRunInMode);
  return coremidi::MidiSystem::instance().notifications().run(seconds, returnAfterSourceHandled);
}

}  // extern "C"
