// Under LeakSanitizer the test program reads the committed suppressions
// (system libraries only); other builds never call this.
extern "C" const char* __lsan_default_options()
{
    return "suppressions=" PALISORNE_LSAN_SUPPRESSIONS;
}
