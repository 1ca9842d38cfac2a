/* Date text forms: the date column of local items, and the date column of a
 * Unix long directory listing read back into a time. Calendar work uses the
 * local time zone. Both functions are reentrant (localtime_r, mktime).
 */
#ifndef RKCORE_RPF_DATE_H
#define RKCORE_RPF_DATE_H

#include <time.h>

#include <rkcore/rpf_export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Display text of a time: "Today, 10:30:00" or "Yesterday, 10:30:00" when the
 * time lies in the current month on the current day or the day before
 * (so the last day of the previous month is never "Yesterday"), else
 * "Sat, Jan 15, 2005, 10:30:00". A fresh malloc buffer owned by the caller;
 * null when memory is exhausted or the time has no calendar form. */
RPF_EXPORT char *rpf_date_string_from_time_t(time_t t);

/* Time of a listing date in the fixed layout "Mmm dd hh:mm" or "Mmm dd  yyyy"
 * (12 characters; the day may begin with a blank). Seconds are 1. A time of
 * day belongs to the current year, or to the previous one when its month lies
 * ahead of the current month. An unknown month reads as January. The text is
 * not modified. A null text or one shorter than 12 characters gives 0;
 * calendar fields mktime cannot represent give -1. */
RPF_EXPORT time_t rpf_date_ls_date_to_time_t(const char *s);

#ifdef __cplusplus
}
#endif

#endif /* RKCORE_RPF_DATE_H */
