// The window tests set up Qt's fonts, whose fontconfig caches stay allocated at
// exit; the sanitizer build's leak checker would report them as the converter's.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\nleak:libdbus-1.so\n"; }
