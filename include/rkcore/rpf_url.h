/* The URL record: protocol, login, host, port and item of a remote or local
 * location, the scheme parsers that read URL texts into it, and its text
 * forms (full, clean, pathless and the encapsulated "ravix://<url><type><size>"
 * form, which never carries a password).
 *
 * Ownership: records come from the constructors below and are freed with
 * rpf_url_dealloc. Accessors return the record's own texts (do not free them;
 * they live as long as the record and its setters). The URL records of items
 * read from a local folder (rpf_fso_get_local_fso) are packed with the
 * read's texts: free them only with rpf_url_dealloc and change their texts
 * only through the setters, never with free(). Every text form is a fresh
 * malloc buffer owned by the caller. The parsers trace their steps on the
 * core's diagnostic stream (rpf_diagnostics.h).
 *
 * Thread: records are not synchronised; use one from one thread at a time.
 */
#ifndef RKCORE_RPF_URL_H
#define RKCORE_RPF_URL_H

#include <stdint.h>

#include <rkcore/rpf_export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Scheme codes (1 is never produced) and their default ports. */
enum { RPF_URL_TYPE_FTP = 0, RPF_URL_TYPE_SFTP = 2, RPF_URL_TYPE_FILE = 3, RPF_URL_TYPE_AFP = 4, RPF_URL_TYPE_SMB = 5 };
enum { RPF_URL_PORT_FTP = 21, RPF_URL_PORT_SFTP = 22, RPF_URL_PORT_AFP = 548, RPF_URL_PORT_SMB = 139 };

/* Kinds of the item a URL points to (item_type). */
enum { RPF_URL_ITEM_UNKNOWN = 0, RPF_URL_ITEM_DIRECTORY = 1, RPF_URL_ITEM_FILE = 2, RPF_URL_ITEM_ALIAS = 3 };

typedef struct rpf_url {
    int32_t type;      /* scheme code */
    char *user_name;   /* login name as written; null when the text had none */
    char *password;    /* null when the text had an empty one */
    char *host;        /* host name */
    int32_t port;      /* port number */
    char *path;        /* item path; without the leading "/" for remote schemes; may be null */
    int32_t anonymous; /* non-zero for an anonymous login */
    int32_t reserved;  /* set and read by no operation */
    int32_t size;      /* size of the item pointed to (from the encapsulated form) */
    int32_t item_type; /* kind of the item pointed to */
} rpf_url;

/* A scheme parser: reads `url` into `record` and sets *status to 0 when it
 * accepted the text, 1 when it did not (a null text or record is refused).
 * `record` must be cleared or come from a constructor: texts it already holds
 * are freed as they are replaced. A refusing parser may leave fields set. Every
 * scan stops at the text's end: a port that ends the text ("ftp://h:2121") is
 * read to the end and leaves no path; a login whose ':' has no '@' after it is
 * refused. */
typedef void (*rpf_url_parser)(const char *url, rpf_url *record, int *status);

typedef struct rpf_url_parser_row {
    rpf_url_parser parser;
    const char *name;
} rpf_url_parser_row;

/* The parsers in the order rpf_url_new_from_string tries them:
 * "File URL Parser", "FTP & SFTP URL Parser", "AFP URL Parser",
 * "SAMBA URL Parser". */
#define RPF_URL_PARSER_COUNT 4
RPF_EXPORT extern const rpf_url_parser_row url_parsers[RPF_URL_PARSER_COUNT];

RPF_EXPORT void file_url_parser(const char *url, rpf_url *record, int *status);
RPF_EXPORT void ftp_url_parser(const char *url, rpf_url *record, int *status);
RPF_EXPORT void afp_url_parser(const char *url, rpf_url *record, int *status);
RPF_EXPORT void smb_url_parser(const char *url, rpf_url *record, int *status);

/* The password an anonymous record answers. */
#define RPF_URL_ANONYMOUS_PASSWORD "ravix@localhost"

/* ---- construction ---- */

/* A new record from a URL text (the parsers in table order, first acceptance
 * wins), or null when no parser accepts it, the text is null or memory is
 * exhausted. The record is cleared first. */
RPF_EXPORT rpf_url *rpf_url_new_from_string(const char *text);

/* A new local record (type 3) whose path is a copy of `path`; null when memory
 * is exhausted. */
RPF_EXPORT rpf_url *rpf_url_new_local(const char *path);

/* A new record from parts (texts are copied; any may be null). A user name
 * beginning with "anonymous", or exactly "guest", makes the record anonymous
 * and leaves user name and password unset. */
RPF_EXPORT rpf_url *rpf_url_new(int32_t type, const char *user_name, const char *password, const char *host,
                                int32_t port, const char *path);

/* Frees the record and all its texts, anonymous or not (a record only ever
 * holds its own copies, or null). Null is ignored. */
RPF_EXPORT void rpf_url_dealloc(rpf_url *url);

/* ---- accessors and setters (null record: 0 / null, setters do nothing) ---- */

RPF_EXPORT void rpf_url_setAnonymous(rpf_url *url, int32_t anonymous);
RPF_EXPORT void rpf_url_set_passWord(rpf_url *url, const char *password);
RPF_EXPORT void rpf_url_setPath(rpf_url *url, const char *path);

RPF_EXPORT int32_t rpf_url_type(const rpf_url *url);
RPF_EXPORT const char *rpf_url_host(const rpf_url *url);
RPF_EXPORT int32_t rpf_url_port(const rpf_url *url);
RPF_EXPORT const char *rpf_url_itemPath(const rpf_url *url);
RPF_EXPORT int32_t rpf_url_size(const rpf_url *url);
/* For an anonymous record: "anonymous", and the default e-mail-style password
 * RPF_URL_ANONYMOUS_PASSWORD, whatever the fields hold. */
RPF_EXPORT const char *rpf_url_userName(const rpf_url *url);
RPF_EXPORT const char *rpf_url_passWord(const rpf_url *url);

RPF_EXPORT int rpf_url_isFTP(const rpf_url *url);
RPF_EXPORT int rpf_url_isSecureFTP(const rpf_url *url);
RPF_EXPORT int rpf_url_isLocal(const rpf_url *url);
RPF_EXPORT int rpf_url_isAFP(const rpf_url *url);
RPF_EXPORT int rpf_url_isAnonymous(const rpf_url *url);

RPF_EXPORT void rpf_ravix_url_set_type(rpf_url *url, int32_t item_type);
RPF_EXPORT int32_t rpf_ravix_url_item_type(const rpf_url *url);
RPF_EXPORT int32_t rpf_ravix_url_item_size(const rpf_url *url);

/* ---- text forms ---- */

/* The format templates every writer uses. */
RPF_EXPORT extern const char anonymousUrlFormatWithoutPort_woPath[];
RPF_EXPORT extern const char anonymousUrlFormatWithPort_woPath[];
RPF_EXPORT extern const char registeredURLFormatWithoutPort_woPath[];
RPF_EXPORT extern const char registeredURLFormatWithPort_woPath[];
RPF_EXPORT extern const char anonymousUrlFormatWithoutPort[];
RPF_EXPORT extern const char anonymousUrlFormatWithPort[];
RPF_EXPORT extern const char registeredURLFormatWithoutPort[];
RPF_EXPORT extern const char registeredURLFormatWithPort[];
RPF_EXPORT extern const char fileUrlFormat[];
RPF_EXPORT extern const char ravixUrlFormat[];
RPF_EXPORT extern const char urlFormat[];

/* 1 when the port differs from the scheme's default (FTP, SFTP, AFP, SMB);
 * 0 for every other type and for null. */
/* The default port of a scheme code (the table above: 21, 22, 548, 139); 0
 * for a local file and for codes that name no scheme. The one place the
 * object layer and the tool ask. */
RPF_EXPORT int32_t rpf_url_default_port(int32_t type);

RPF_EXPORT int rpf_url_hasUniquePort(const rpf_url *url);

/* Full text, password included. */
RPF_EXPORT char *rpf_url_string(const rpf_url *url);
/* Text with the password position left empty. */
RPF_EXPORT char *rpf_url_string_clean(const rpf_url *url);
/* Text of the server alone (FTP and SFTP; "file://" for a local record). */
RPF_EXPORT char *rpf_url_string_pathless(const rpf_url *url);

/* "ravix://<clean text><item type><item size>". Never carries a password. */
RPF_EXPORT char *rpf_ravix_url(const rpf_url *url, int32_t item_type, int32_t item_size);
/* The inner URL text of an encapsulated text (or null), with its item type and
 * size stored into the outputs that are given. */
RPF_EXPORT char *ravix_get_encapsulated_info(const char *text, int32_t *item_type, int32_t *size);
/* A new record from an encapsulated text, its size in `size`; the item type
 * goes to the output (-1 when no record results). */
RPF_EXPORT rpf_url *rpf_url_ravix_url_to_url(const char *text, int32_t *item_type);
/* A new record for `url_text` + "/" + `item`. */
RPF_EXPORT rpf_url *rpf_url_by_appending_item(const char *url_text, const char *item);

#ifdef __cplusplus
}
#endif

#endif /* RKCORE_RPF_URL_H */
