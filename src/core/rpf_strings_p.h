/* Private text helpers of the C core. Not installed. */
#ifndef RKCORE_RPF_STRINGS_P_H
#define RKCORE_RPF_STRINGS_P_H

#include <stddef.h>

/* New text holding the `length` bytes at `text` and a terminator; null when
 * memory is exhausted. */
char *rpf_copy_range(const char *text, size_t length);

/* New text a + b + c (each non-null); null when memory is exhausted or the
 * length would overflow. */
char *rpf_concat(const char *a, const char *b, const char *c);

/* New text formatted as by printf; null on a formatting error or when memory
 * is exhausted. */
char *rpf_format(const char *format, ...) __attribute__((format(printf, 1, 2)));

#endif
