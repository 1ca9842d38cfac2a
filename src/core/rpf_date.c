#include <rkcore/rpf_date.h>

#include <ctype.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>

char *rpf_date_string_from_time_t(time_t t)
{
    enum { BUFFER_SIZE = 256 };
    struct tm when, today;
    time_t now = time(NULL);
    if (localtime_r(&t, &when) == NULL || localtime_r(&now, &today) == NULL) return NULL;

    /* Only the current month has "Yesterday": on the first of a month the
     * last day of the previous one shows in full. */
    int same_month = when.tm_year == today.tm_year && when.tm_mon == today.tm_mon;
    char buffer[BUFFER_SIZE];
    size_t length = 0;
    if (same_month && when.tm_mday == today.tm_mday - 1) {
        length = strftime(buffer, sizeof buffer, "Yesterday, %T", &when);
    } else if (same_month && when.tm_mday == today.tm_mday) {
        length = strftime(buffer, sizeof buffer, "Today, %T", &when);
    } else {
        length = strftime(buffer, sizeof buffer, "%a, %b %d, %Y, %T", &when);
    }
    char *text = malloc(length + 1);
    if (text == NULL) return NULL;
    memcpy(text, buffer, length);
    text[length] = '\0';
    return text;
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

    time_t now = time(NULL);
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
