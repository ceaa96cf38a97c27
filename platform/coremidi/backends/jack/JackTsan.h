// JACK hands an output port's buffer to the input ports connected to it, in shared memory, and
// orders the clients' process calls with its own semaphores, which the thread sanitizer cannot
// see. These marks tell it that order: a writer releases its output buffer at the end of its
// cycle, a reader acquires its input buffer before reading it.
#pragma once

#if defined(__SANITIZE_THREAD__)
extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);
#define TONVIK_JACK_BUFFER_READ(buffer) __tsan_acquire(buffer)
#define TONVIK_JACK_BUFFER_WRITTEN(buffer) __tsan_release(buffer)
#else
#define TONVIK_JACK_BUFFER_READ(buffer) ((void)(buffer))
#define TONVIK_JACK_BUFFER_WRITTEN(buffer) ((void)(buffer))
#endif
