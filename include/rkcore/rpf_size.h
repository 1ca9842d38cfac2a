/* Size text forms. Every result is a fresh malloc buffer owned by the caller,
 * or null when memory is exhausted. All functions are reentrant.
 *
 * The texts are cut by fixed buffer limits, as file lists have always shown
 * them: a four-digit byte count loses the blank after it, and 1000-1023 bytes
 * show only their first three digits in the 64-bit form.
 */
#ifndef RKCORE_RPF_SIZE_H
#define RKCORE_RPF_SIZE_H

#include <stdint.h>

#include <rkcore/rpf_export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Short size text of a 32-bit count: "512 ", "1023", "1 k" (whole KiB below
 * 1,024,000 bytes), "3 MB" (divisor 1,024,000 below 1,024,000,000 bytes) and,
 * from 1,024,000,000 bytes on, "1 GB" (divisor 1,024,000,000). */
RPF_EXPORT char *rpf_utility_format_size(int32_t n);

/* Size text of the 64-bit count high * 2^32 + low: "512", "1.5KB",
 * "3.554MB", "4GB", "1TB". The figure after the point is the remainder below
 * the unit divided by a fixed power of ten (100 for KB, 1000 for MB, 10^7 for
 * GB, 10^9 for TB), shown when it is 5 or more; it is not a decimal fraction. */
RPF_EXPORT char *format_size(uint32_t low, uint32_t high);

/* The same as format_size. */
RPF_EXPORT char *_format_size(uint32_t low, uint32_t high); /* NOLINT(bugprone-reserved-identifier) */

#ifdef __cplusplus
}
#endif

#endif /* RKCORE_RPF_SIZE_H */
