// JACK hands an output port's buffer to the input ports connected to it, in shared memory, and
// orders the clients' process calls with its own semaphores, which the thread sanitizer cannot
// see. These marks tell it that order: a process call takes every port buffer it uses before it
// touches it (acquire) and hands it back when done (release), so a reader follows the writer of
// the same period and the next period's writer follows the reader.
#pragma once

#if defined(__SANITIZE_THREAD__)
extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);
#define TONVIK_JACK_BUFFER_TAKEN(buffer) __tsan_acquire(buffer)
#define TONVIK_JACK_BUFFER_DONE(buffer) __tsan_release(buffer)
#else
#define TONVIK_JACK_BUFFER_TAKEN(buffer) ((void)(buffer))
#define TONVIK_JACK_BUFFER_DONE(buffer) ((void)(buffer))
#endif
