// SPDX-License-Identifier: GPL-2.0-only
// Part of the module in the fuzzers' build. The fuzzer keeps pointers to all counters that it is
// told of, but the module's go with every unload: where there is a fuzzer they are added to some
// that stay.
extern "C" {

extern unsigned char fuzz_module_counters[16384] __attribute__((weak));

static unsigned char *first;
static unsigned char *end;

// The module hides its names: these are called in place of the fuzzer's.
void __sanitizer_cov_8bit_counters_init(unsigned char *from, unsigned char *to) {
    first = from;
    end = to;
}
void __sanitizer_cov_pcs_init(const unsigned long *, const unsigned long *) {}

__attribute__((destructor)) static void hand_over() {
    unsigned char *to = fuzz_module_counters;

    for (const unsigned char *from = first; to != nullptr && from < end;) {
        *to++ |= *from++;
    }
}

}  // extern "C"
