// AddressSanitizer's defaults for the fuzz targets (ASAN_OPTIONS still
// overrides them). A small quarantine: a freed block is still caught when
// used again within the same input, which is what matters here, and the
// default 256 MiB would make most allocations land on memory the system
// has to hand out afresh, at the cost of a page fault each.

extern "C" const char* __asan_default_options() { return "quarantine_size_mb=16"; }
