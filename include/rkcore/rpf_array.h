/* rpf_array: the core's growable array of plain pointers.
 *
 * It neither retains nor frees its elements: they stay the caller's. Appending
 * is amortised O(1) (the capacity doubles). An array is not synchronised: use
 * one from one thread at a time.
 */
#ifndef RKCORE_RPF_ARRAY_H
#define RKCORE_RPF_ARRAY_H

#include <stdint.h>

#include <rkcore/rpf_export.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct rpf_array rpf_array;

/* A new empty array, or null when memory is exhausted. Free it with
 * rpf_array_free. */
RPF_EXPORT rpf_array *rpf_array_new(void);

/* Frees the array itself, never its elements. Null is ignored. */
RPF_EXPORT void rpf_array_free(rpf_array *array);

/* Appends `value` (which may be null). 0 on success; -1 when the array is null,
 * full (INT32_MAX elements) or memory is exhausted, in which case nothing
 * changed. */
RPF_EXPORT int rpf_array_append(rpf_array *array, void *value);

/* Number of elements; 0 for a null array. */
RPF_EXPORT int32_t rpf_array_count(const rpf_array *array);

/* The element at `index`, or null when the array is null or `index` is outside
 * 0 .. count-1. */
RPF_EXPORT void *rpf_array_get(const rpf_array *array, int32_t index);

/* Index of the first element identical to `value` (pointer comparison), or -1
 * when there is none or the array is null. */
RPF_EXPORT int32_t _findIndexInCFArray(const rpf_array *array,
                                       const void *value); /* NOLINT(bugprone-reserved-identifier) */

#ifdef __cplusplus
}
#endif

#endif /* RKCORE_RPF_ARRAY_H */
