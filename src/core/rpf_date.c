#include <rkcore/rpf_date.h>

#include <ctype.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>

#include "rpf_clock_p.h"
#include "rpf_date_p.h"

static time_t (*date_clock)(void) = NULL;

void rpf_date_set_clock(time_t (*clock)(void))
{
    date_clock = clock;
}

time_t rpf_date_now(void)
{
    return date_clock != NULL ? date_clock() : time(NULL);
}

/* The date text of `when` as seen on `today`, written by strftime into
 * `buffer` (RPF_DATE_TEXT_SIZE bytes); its length (0 when it does not fit). */
static size_t format_date(const struct tm *when, const struct tm *today, char *buffer)
{
    /* Only the current month has "Yesterday": on the first of a month the
     * last day of the previous one shows in full. */
    int same_month = when->tm_year == today->tm_year && when->tm_mon == today->tm_mon;
    if (same_month && when->tm_mday == today->tm_mday - 1) {
        return strftime(buffer, RPF_DATE_TEXT_SIZE, "Yesterday, %T", when);
    }
    if (same_month && when->tm_mday == today->tm_mday) return strftime(buffer, RPF_DATE_TEXT_SIZE, "Today, %T", when);
    return strftime(buffer, RPF_DATE_TEXT_SIZE, "%a, %b %d, %Y, %T", when);
}

char *rpf_date_string_from_time_t(time_t t)
{
    struct tm when, today;
    time_t now = rpf_date_now();
    if (localtime_r(&t, &when) == NULL || localtime_r(&now, &today) == NULL) return NULL;
    char buffer[RPF_DATE_TEXT_SIZE];
    size_t length = format_date(&when, &today, buffer);
    char *text = malloc(length + 1);
    if (text == NULL) return NULL;
    memcpy(text, buffer, length);
    text[length] = '\0';
    return text;
}

enum { SECONDS_PER_DAY = 86400 };

/* Fills `day` with the calendar day of `when` (broken down from `t`) when the
 * day has one offset from UTC from its first to its last second; 0 when it
 * has not (the offset changes that day) or its day part is too long. */
static int learn_day(const rpf_date_cache *cache, time_t t, const struct tm *when, rpf_date_day *day)
{
    if (when->tm_sec > 59) return 0; /* a leap second: no arithmetic day */
    time_t start = t - (when->tm_hour * 3600 + when->tm_min * 60 + when->tm_sec);
    time_t last = start + SECONDS_PER_DAY - 1;
    struct tm first_fields, last_fields;
    if (localtime_r(&start, &first_fields) == NULL || localtime_r(&last, &last_fields) == NULL) return 0;
    if (first_fields.tm_mday != when->tm_mday || first_fields.tm_hour != 0 || first_fields.tm_min != 0 ||
        first_fields.tm_sec != 0 || first_fields.tm_gmtoff != when->tm_gmtoff) {
        return 0;
    }
    if (last_fields.tm_mday != when->tm_mday || last_fields.tm_hour != 23 || last_fields.tm_min != 59 ||
        last_fields.tm_sec != 59 || last_fields.tm_gmtoff != when->tm_gmtoff) {
        return 0;
    }
    const struct tm *today = &cache->today;
    int same_month = when->tm_year == today->tm_year && when->tm_mon == today->tm_mon;
    size_t length = 0;
    if (same_month && when->tm_mday == today->tm_mday - 1) {
        length = strftime(day->prefix, sizeof day->prefix, "Yesterday, ", when);
    } else if (same_month && when->tm_mday == today->tm_mday) {
        length = strftime(day->prefix, sizeof day->prefix, "Today, ", when);
    } else {
        length = strftime(day->prefix, sizeof day->prefix, "%a, %b %d, %Y, ", when);
    }
    if (length == 0) return 0;
    day->start = start;
    day->end = start + SECONDS_PER_DAY;
    day->length = (int)length;
    return 1;
}

static rpf_date_day *find_day(rpf_date_cache *cache, long long number)
{
    size_t mask = cache->capacity - 1;
    for (size_t i = (size_t)((unsigned long long)number * 0x9E3779B97F4A7C15ULL >> 40) & mask;; i = (i + 1) & mask) {
        rpf_date_day *day = &cache->days[i];
        if (day->start == day->end || day->number == number) return day;
    }
}

/* Room for one more day; 0 when memory ran out. */
static int reserve_day(rpf_date_cache *cache)
{
    if ((cache->count + 1) * 2 <= cache->capacity) return 1;
    size_t capacity = cache->capacity * 2;
    rpf_date_day *old = cache->days;
    size_t old_capacity = cache->capacity;
    rpf_date_day *days = calloc(capacity, sizeof *days);
    if (days == NULL) return 0;
    cache->days = days;
    cache->capacity = capacity;
    for (size_t i = 0; i < old_capacity; ++i) {
        if (old[i].start != old[i].end) *find_day(cache, old[i].number) = old[i];
    }
    if (old != cache->first) free(old);
    cache->last = NULL;
    return 1;
}

static long long floor_days(long long seconds)
{
    long long q = seconds / SECONDS_PER_DAY;
    return seconds % SECONDS_PER_DAY < 0 ? q - 1 : q;
}

const rpf_date_day *rpf_date_cache_day(rpf_date_cache *cache, time_t t)
{
    if (cache->state == 0) {
        time_t now = rpf_date_now();
        cache->state = localtime_r(&now, &cache->today) == NULL ? -1 : 1;
        cache->days = cache->first;
        cache->capacity = RPF_DATE_FIRST_DAYS;
    }
    if (cache->state < 0) return NULL;
    const rpf_date_day *last = cache->last;
    if (last != NULL && t >= last->start && t < last->end) return last;
    /* The local day number of `t` under the last offset seen; another offset
     * moves it by a day at most. */
    long long guess = floor_days((long long)t + cache->offset);
    const long long numbers[] = {guess, guess - 1, guess + 1};
    for (size_t i = 0; i < 3; ++i) {
        const rpf_date_day *day = find_day(cache, numbers[i]);
        if (day->start != day->end && t >= day->start && t < day->end) {
            cache->last = day;
            return day;
        }
    }
    struct tm when;
    rpf_date_day day;
    if (localtime_r(&t, &when) == NULL || !learn_day(cache, t, &when, &day)) return NULL;
    day.number = floor_days((long long)day.start + when.tm_gmtoff);
    cache->offset = when.tm_gmtoff;
    if (!reserve_day(cache)) return NULL;
    rpf_date_day *slot = find_day(cache, day.number);
    *slot = day;
    cache->count += 1;
    cache->last = slot;
    return slot;
}

int rpf_date_cache_text(rpf_date_cache *cache, time_t t, char *buffer)
{
    const rpf_date_day *day = rpf_date_cache_day(cache, t);
    if (day != NULL) {
        rpf_date_day_text(day, t, buffer);
        return rpf_date_day_length(day);
    }
    if (cache->state < 0) return -1;
    struct tm when;
    if (localtime_r(&t, &when) == NULL) return -1;
    return (int)format_date(&when, &cache->today, buffer);
}

void rpf_date_cache_clear(rpf_date_cache *cache)
{
    if (cache->days != cache->first) free(cache->days);
    cache->days = NULL;
}

/* Month 0-11 from the first three characters, looking only at the characters
 * the listing code has always looked at; anything unknown is January. */
static int month_of(const char *s)
{
    switch (s[0]) {
    case 'A': return s[1] == 'u' ? 7 : 3;
    case 'D': return 11;
    case 'F': return 1;
    case 'M': return s[2] == 'r' ? 2 : 4;
    case 'N': return 10;
    case 'O': return 9;
    case 'S': return 8;
    default:
        if (s[1] == 'u') return s[2] == 'l' ? 6 : 5;
        return 0;
    }
}

/* Reads a decimal number as scanf's "%d" does (leading white space, optional
 * sign), clamped to +-100000 so that later arithmetic cannot overflow. Returns
 * the position after it, or null when there is no number. */
static const char *scan_int(const char *p, int *value)
{
    enum { CLAMP = 100000 };
    while (isspace((unsigned char)*p))
        ++p;
    int sign = 1;
    if (*p == '+' || *p == '-') sign = *p++ == '-' ? -1 : 1;
    if (!isdigit((unsigned char)*p)) return NULL;
    long magnitude = 0;
    for (; isdigit((unsigned char)*p); ++p) {
        if (magnitude < CLAMP) magnitude = magnitude * 10 + (*p - '0');
    }
    if (magnitude > CLAMP) magnitude = CLAMP;
    *value = (int)(sign * magnitude);
    return p;
}

time_t rpf_date_ls_date_to_time_t(const char *s)
{
    enum { LAYOUT_LENGTH = 12 };
    if (s == NULL || strnlen(s, LAYOUT_LENGTH) < LAYOUT_LENGTH) return 0;

    time_t now = rpf_date_now();
    struct tm fields;
    if (localtime_r(&now, &fields) == NULL) return -1;

    int month = month_of(s);
    int day = (s[4] == ' ' ? 0 : 10 * (s[4] - '0')) + (s[5] - '0');
    int year = fields.tm_year + 1900;
    int hour = 0, minute = 0;
    if (s[7] == ' ') {
        (void)scan_int(s + 7, &year);
    } else {
        /* "hh:mm": character 9 (the colon) reads as a blank, so hour and
         * minute scan as two numbers. A copy keeps the caller's text intact. */
        char *copy = strdup(s);
        if (copy == NULL) return -1;
        copy[9] = ' ';
        const char *rest = scan_int(copy + 7, &hour);
        if (rest != NULL) (void)scan_int(rest, &minute);
        free(copy);
        /* A listing shows times only for recent months, so a month that lies
         * ahead belongs to the previous year. */
        if (month > fields.tm_mon) --year;
    }

    fields.tm_sec = 1;
    fields.tm_min = minute;
    fields.tm_hour = hour;
    fields.tm_mday = day;
    fields.tm_mon = month;
    fields.tm_year = year - 1900;
    fields.tm_wday = 0;
    fields.tm_yday = 0;
    fields.tm_isdst = -1;
    return mktime(&fields);
}
