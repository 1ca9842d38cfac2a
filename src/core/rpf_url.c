/* The URL record: construction, release, accessors and the parser chain. */
#include <rkcore/rpf_url.h>

#include <ctype.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>

#include "rpf_pack_p.h"
#include "rpf_url_p.h"

const rpf_url_parser_row url_parsers[RPF_URL_PARSER_COUNT] = {
    {file_url_parser, "File URL Parser"},
    {ftp_url_parser, "FTP & SFTP URL Parser"},
    {afp_url_parser, "AFP URL Parser"},
    {smb_url_parser, "SAMBA URL Parser"},
};

/* Texts of the records a folder read makes are packed (rpf_pack_p.h):
 * rpf_text_free releases those and frees any other. */
static void clear_fields(rpf_url *url, rpf_pack_batch *batch)
{
    rpf_text_free_batched(url->user_name, batch);
    rpf_text_free_batched(url->password, batch);
    rpf_text_free_batched(url->host, batch);
    rpf_text_free_batched(url->path, batch);
    memset(url, 0, sizeof *url);
}

void rpf_url_clear(rpf_url *url)
{
    clear_fields(url, NULL);
}

void rpf_url_store(char **field, char *text)
{
    rpf_text_free(*field);
    *field = text;
}

void rpf_url_dealloc_batched(rpf_url *url, rpf_pack_batch *batch)
{
    if (url == NULL) return;
    clear_fields(url, batch);
    rpf_text_free_batched(url, batch);
}

int32_t rpf_url_decimal(const char *text, size_t length)
{
    size_t i = 0;
    while (i < length && isspace((unsigned char)text[i]))
        ++i;
    int negative = 0;
    if (i < length && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
    long long value = 0;
    for (; i < length && isdigit((unsigned char)text[i]); ++i) {
        value = value * 10 + (text[i] - '0');
        if (value > (long long)INT32_MAX + 1) value = (long long)INT32_MAX + 1;
    }
    if (negative) return (int32_t)-value;
    return value > INT32_MAX ? INT32_MAX : (int32_t)value;
}

/* A copy of `text`, or null for null; *failed is set when memory ran out. */
static char *copy_or_null(const char *text, int *failed)
{
    if (text == NULL) return NULL;
    char *copy = strdup(text);
    if (copy == NULL) *failed = 1;
    return copy;
}

rpf_url *rpf_url_new_from_string(const char *text)
{
    if (text == NULL) return NULL;
    rpf_url *url = calloc(1, sizeof *url);
    if (url == NULL) return NULL;
    for (size_t row = 0; row < RPF_URL_PARSER_COUNT; ++row) {
        int status = 1;
        url_parsers[row].parser(text, url, &status);
        if (status == 0) return url;
        /* A refusing parser may have set fields; the next one starts clean. */
        rpf_url_clear(url);
    }
    free(url);
    return NULL;
}

rpf_url *rpf_url_new_local(const char *path)
{
    rpf_url *url = calloc(1, sizeof *url);
    if (url == NULL) return NULL;
    int failed = 0;
    url->type = RPF_URL_TYPE_FILE;
    url->path = copy_or_null(path, &failed);
    if (failed) {
        free(url);
        return NULL;
    }
    return url;
}

/* "anonymous..." (prefix) or "guest" exactly (six characters compared, the
 * terminator included): "guest1" logs in as itself here, though the parsers
 * call it anonymous. */
static int is_anonymous_name(const char *user_name)
{
    return user_name != NULL && (strncmp(user_name, "anonymous", 9) == 0 || strcmp(user_name, "guest") == 0);
}

rpf_url *rpf_url_new(int32_t type, const char *user_name, const char *password, const char *host, int32_t port,
                     const char *path)
{
    rpf_url *url = calloc(1, sizeof *url);
    if (url == NULL) return NULL;
    int failed = 0;
    url->type = type;
    url->port = port;
    url->anonymous = is_anonymous_name(user_name);
    if (!url->anonymous) {
        url->user_name = copy_or_null(user_name, &failed);
        url->password = copy_or_null(password, &failed);
    }
    url->host = copy_or_null(host, &failed);
    url->path = copy_or_null(path, &failed);
    if (failed) {
        rpf_url_dealloc(url);
        return NULL;
    }
    return url;
}

/* Every text a record holds is its own copy (or null), whether it is
 * anonymous or not, so all of them are freed. */
void rpf_url_dealloc(rpf_url *url)
{
    rpf_url_dealloc_batched(url, NULL);
}

void rpf_url_setAnonymous(rpf_url *url, int32_t anonymous)
{
    if (url != NULL) url->anonymous = anonymous;
}

/* A copy that fails for want of memory leaves the field null: the old text is
 * released either way, as the caller asked to replace it. */
void rpf_url_set_passWord(rpf_url *url, const char *password)
{
    if (url == NULL) return;
    int failed = 0;
    rpf_url_store(&url->password, copy_or_null(password, &failed));
}

void rpf_url_setPath(rpf_url *url, const char *path)
{
    if (url == NULL) return;
    int failed = 0;
    rpf_url_store(&url->path, copy_or_null(path, &failed));
}

int32_t rpf_url_type(const rpf_url *url)
{
    return url == NULL ? 0 : url->type;
}

const char *rpf_url_host(const rpf_url *url)
{
    return url == NULL ? NULL : url->host;
}

int32_t rpf_url_port(const rpf_url *url)
{
    return url == NULL ? 0 : url->port;
}

const char *rpf_url_itemPath(const rpf_url *url)
{
    return url == NULL ? NULL : url->path;
}

int32_t rpf_url_size(const rpf_url *url)
{
    return url == NULL ? 0 : url->size;
}

const char *rpf_url_userName(const rpf_url *url)
{
    if (url == NULL) return NULL;
    return url->anonymous ? "anonymous" : url->user_name;
}

const char *rpf_url_passWord(const rpf_url *url)
{
    if (url == NULL) return NULL;
    return url->anonymous ? RPF_URL_ANONYMOUS_PASSWORD : url->password;
}

int rpf_url_isFTP(const rpf_url *url)
{
    return url != NULL && url->type == RPF_URL_TYPE_FTP;
}

int rpf_url_isSecureFTP(const rpf_url *url)
{
    return url != NULL && url->type == RPF_URL_TYPE_SFTP;
}

int rpf_url_isLocal(const rpf_url *url)
{
    return url != NULL && url->type == RPF_URL_TYPE_FILE;
}

int rpf_url_isAFP(const rpf_url *url)
{
    return url != NULL && url->type == RPF_URL_TYPE_AFP;
}

int rpf_url_isAnonymous(const rpf_url *url)
{
    return url != NULL && url->anonymous != 0;
}

void rpf_ravix_url_set_type(rpf_url *url, int32_t item_type)
{
    if (url != NULL) url->item_type = item_type;
}

int32_t rpf_ravix_url_item_type(const rpf_url *url)
{
    return url == NULL ? 0 : url->item_type;
}

int32_t rpf_ravix_url_item_size(const rpf_url *url)
{
    return url == NULL ? 0 : url->size;
}
