/* Private: the date texts of one folder read, made from one "today" taken when
 * the read starts. Each distinct calendar day costs a few localtime_r calls
 * and one strftime of its day part; every time within a known day is then
 * its day's text and the time of day worked out arithmetically. Days whose
 * offset from UTC changes (daylight-saving days) are formatted entry by entry.
 * The texts are exactly those of rpf_date_string_from_time_t. Not installed.
 */
#ifndef RKCORE_RPF_DATE_P_H
#define RKCORE_RPF_DATE_P_H

#include <time.h>

enum { RPF_DATE_TEXT_SIZE = 256, RPF_DATE_PREFIX_SIZE = 96, RPF_DATE_DAY_SLOTS = 32 };

typedef struct rpf_date_day {
    time_t start;                      /* first second of the day */
    time_t end;                        /* first second of the next day; start == end: empty slot */
    int length;                        /* of the prefix */
    char prefix[RPF_DATE_PREFIX_SIZE]; /* "Today, ", "Yesterday, " or the full day part */
} rpf_date_day;

typedef struct rpf_date_cache {
    int state; /* 0 not started, 1 ready, -1 the current time has no calendar form */
    struct tm today;
    const rpf_date_day *last;
    rpf_date_day days[RPF_DATE_DAY_SLOTS][2];
} rpf_date_cache;

/* Writes the date text of `t` into `buffer` (RPF_DATE_TEXT_SIZE bytes) and
 * returns its length, or -1 when the time has no calendar form. The cache
 * must start zeroed; "today" is taken on the first call. */
int rpf_date_cache_text(rpf_date_cache *cache, time_t t, char *buffer);

#endif
