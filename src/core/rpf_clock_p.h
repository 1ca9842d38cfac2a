/* Private: the core's clock. Not installed. */
#ifndef RKCORE_RPF_CLOCK_P_H
#define RKCORE_RPF_CLOCK_P_H

#include <time.h>

#include <rkcore/rpf_export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The current time, as every date function of the core reads it: time(NULL)
 * unless a clock was set. One seam, so that tests can fix "now" (and never
 * flake at midnight or on the first of a month). */
time_t rpf_date_now(void);

/* Replaces the clock; null restores time(NULL). For tests: set it before any
 * thread reads dates (it is read without a lock). Exported, not installed. */
RPF_EXPORT void rpf_date_set_clock(time_t (*clock)(void));

#ifdef __cplusplus
}
#endif

#endif /* RKCORE_RPF_CLOCK_P_H */
