// Qt's font set-up leaves fontconfig's caches allocated at exit, which the leak
// checker of the sanitizer build would report as ours.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\nleak:libdbus-1.so\n"; }
