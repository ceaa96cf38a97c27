// A shared library with none of the six exports, which the loader must turn away.
extern "C" __attribute__((visibility("default"))) int notAnXtra() {
  return 0;
}
