// Linked into every test. fontconfig keeps a cache for the life of the process and never frees
// it; LeakSanitizer would report it at the exit of every test that lays out text. libx265 3.5
// loses a few buffers of every encoder it closes, in the tests that make H.265 videos.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libfontconfig.so\nleak:libx265.so\n";
}
