// The run loop of a thread. MIDI notifications for a client are delivered only while the thread
// that created the client runs its run loop.
#pragma once

#include "CFString.h"

typedef double CFTimeInterval;
typedef SInt32 CFRunLoopRunResult;

enum : CFRunLoopRunResult {
  kCFRunLoopRunFinished = 1,  // the thread has nothing that could deliver (no MIDI client)
  kCFRunLoopRunStopped = 2,
  kCFRunLoopRunTimedOut = 3,
  kCFRunLoopRunHandledSource = 4,
};

extern "C" {

extern const CFStringRef kCFRunLoopDefaultMode;

// Delivers the notifications waiting for this thread's clients, then keeps delivering until
// `seconds` have passed; with returnAfterSourceHandled, returns after the first delivery.
// With 0 seconds it delivers what is waiting and returns at once.
CFRunLoopRunResult CFRunLoopRunInMode(CFStringRef mode, CFTimeInterval seconds,
                                      Boolean returnAfterSourceHandled);

}  // extern "C"
