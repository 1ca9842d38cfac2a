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

enum { RPF_DATE_TEXT_SIZE = 256, RPF_DATE_PREFIX_SIZE = 96, RPF_DATE_FIRST_DAYS = 8 };

typedef struct rpf_date_day {
    long long number;                  /* days since 1 January 1970 in local time */
    time_t start;                      /* first second of the day */
    time_t end;                        /* first second of the next day; start == end: empty slot */
    int length;                        /* of the prefix */
    char prefix[RPF_DATE_PREFIX_SIZE]; /* "Today, ", "Yesterday, " or the full day part */
} rpf_date_day;

typedef struct rpf_date_cache {
    int state; /* 0 not started, 1 ready, -1 the current time has no calendar form */
    struct tm today;
    long offset; /* from UTC, of the day learnt last: where to look first */
    const rpf_date_day *last;
    rpf_date_day *days; /* open addressing by day number; `first` until it grows */
    size_t capacity;    /* a power of two */
    size_t count;
    rpf_date_day first[RPF_DATE_FIRST_DAYS];
} rpf_date_cache;

/* Writes the date text of `t` into `buffer` (RPF_DATE_TEXT_SIZE bytes) and
 * returns its length, or -1 when the time has no calendar form. The cache
 * must start zeroed; "today" is taken on the first call. */
int rpf_date_cache_text(rpf_date_cache *cache, time_t t, char *buffer);

/* The day of `t` when its text can be made arithmetically (its offset from
 * UTC does not change that day), learnt on
 * first need; null otherwise (rpf_date_cache_text then does it the long way).
 * The text is rpf_date_day_length() long and rpf_date_day_text() writes it. */
const rpf_date_day *rpf_date_cache_day(rpf_date_cache *cache, time_t t);

/* Frees what the cache allocated. */
void rpf_date_cache_clear(rpf_date_cache *cache);

static inline int rpf_date_day_length(const rpf_date_day *day)
{
    return day->length + 8;
}

/* Writes the text of `t`, a time within `day`, and its terminator into
 * `buffer` (rpf_date_day_length() + 1 bytes). */
static inline void rpf_date_day_text(const rpf_date_day *day, time_t t, char *buffer)
{
    if (day->length <= 32) {
        char prefix[32]; /* a fixed-size copy: no call */
        __builtin_memcpy(prefix, day->prefix, sizeof prefix);
        __builtin_memcpy(buffer, prefix, (size_t)day->length);
    } else {
        __builtin_memcpy(buffer, day->prefix, (size_t)day->length);
    }
    static const char pairs[] = "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
                                "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
                                "8081828384858687888990919293949596979899";
    unsigned seconds = (unsigned)(t - day->start), rest = seconds % 3600;
    char *p = buffer + day->length;
    __builtin_memcpy(p, pairs + (size_t)2 * (seconds / 3600), 2);
    p[2] = ':';
    __builtin_memcpy(p + 3, pairs + (size_t)2 * (rest / 60), 2);
    p[5] = ':';
    __builtin_memcpy(p + 6, pairs + (size_t)2 * (rest % 60), 2);
    p[8] = '\0';
}

#endif
