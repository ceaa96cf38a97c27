#include "ScriptThread.h"

#include <pthread.h>

namespace tonvik {

namespace {

struct Run {
  const std::function<int()>* body;
  int status = 0;
};

void* runBody(void* argument) {
  auto* run = static_cast<Run*>(argument);
  run->status = (*run->body)();
  return nullptr;
}

}  // namespace

int runWithStack(std::size_t stackBytes, const std::function<int()>& body) {
  pthread_attr_t attr;
  if (pthread_attr_init(&attr) != 0) return body();
  Run run{&body};
  pthread_t thread;
  bool started = pthread_attr_setstacksize(&attr, stackBytes) == 0 &&
                 pthread_create(&thread, &attr, runBody, &run) == 0;
  pthread_attr_destroy(&attr);
  if (!started) return body();
  pthread_join(thread, nullptr);
  return run.status;
}

}  // namespace tonvik
