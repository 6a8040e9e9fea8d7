// Linked into every test. fontconfig keeps a cache for the life of the process and never frees
// it; LeakSanitizer would report it at the exit of every test that lays out text.
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\n"; }
