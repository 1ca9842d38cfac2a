/* Private: records, texts and URL records of one local folder read, packed
 * together.
 *
 * A read takes chunks of 1 MiB from one reserved range of address space and
 * hands out pieces of them by moving a pointer; a chunk counts the fields that
 * point into it and goes back when the last one is released. Whether a
 * pointer is packed is an address range test, so freeing a field needs no
 * lock and no lookup table: rpf_text_free releases a packed piece and passes
 * any other pointer to free().
 *
 * While a read builds (between its first rpf_pack_alloc and rpf_pack_finish)
 * the counts of its chunks are plain numbers only that read touches; nothing
 * of the read may be released before rpf_pack_finish. After it, releases may
 * happen on any thread (the counts are atomic).
 *
 * When the range cannot be reserved (a tight address-space limit), or a piece
 * is larger than a chunk, rpf_pack_alloc gives null and the caller falls back
 * to malloc.
 */
#ifndef RKCORE_RPF_PACK_P_H
#define RKCORE_RPF_PACK_P_H

#include <stdatomic.h>
#include <stddef.h>
#include <stdint.h>

/* Chunks are aligned to their size: a piece finds its chunk's header by
 * masking its address. */
#define RPF_PACK_CHUNK_SIZE ((size_t)1 << 20)

typedef struct rpf_pack_chunk {
    atomic_size_t uses; /* published uses, plus one while its read builds */
    size_t building;    /* uses handed out by the building read, not yet published */
    size_t dirty;       /* bytes written since the chunk was last cleared */
} rpf_pack_chunk;

/* The writing side of one read. Zero-initialise. */
typedef struct rpf_pack {
    rpf_pack_chunk *chunk;  /* the chunk pieces come from */
    char *next;             /* first free byte in it */
    char *end;              /* end of it */
    rpf_pack_chunk **taken; /* every chunk this read took */
    size_t count;
    size_t capacity;
} rpf_pack;

/* rpf_pack_alloc when the current chunk has no room. */
void *rpf_pack_alloc_slow(rpf_pack *pack, size_t size, size_t align);

/* `size` bytes of zeros aligned to `align` (a power of two up to 16) holding
 * one use, or null (no chunk could be had, or the piece is too big). */
static inline void *rpf_pack_alloc(rpf_pack *pack, size_t size, size_t align)
{
    if (pack->chunk == NULL) return rpf_pack_alloc_slow(pack, size, align);
    char *at = pack->next + ((align - ((uintptr_t)pack->next & (align - 1))) & (align - 1));
    if (at > pack->end || size > (size_t)(pack->end - at)) return rpf_pack_alloc_slow(pack, size, align);
    pack->next = at + size;
    pack->chunk->building += 1;
    return at;
}

/* A packed copy of the `length` bytes at `text` and a terminator, one use. */
char *rpf_pack_copy(rpf_pack *pack, const char *text, size_t length);

/* `uses` more uses of a piece this read allocated (before rpf_pack_finish). */
static inline void rpf_pack_add_uses(const void *piece, size_t uses)
{
    const char *at = piece;
    ((rpf_pack_chunk *)(at - ((uintptr_t)at & (RPF_PACK_CHUNK_SIZE - 1))))->building += uses;
}

/* One more use of a piece this read allocated (before rpf_pack_finish). */
static inline void rpf_pack_use(const void *piece)
{
    rpf_pack_add_uses(piece, 1);
}

/* Publishes the uses of every chunk the read took and gives up the read's own
 * hold on them; chunks nothing points into go back at once. */
void rpf_pack_finish(rpf_pack *pack);

/* 1 when `pointer` lies in packed memory. */
int rpf_pack_contains(const void *pointer);

/* Releases of many pieces, most of them from the same chunk: one atomic
 * operation per run of the same chunk. Zero-initialise; flush at the end. */
typedef struct rpf_pack_batch {
    rpf_pack_chunk *chunk;
    size_t uses;
} rpf_pack_batch;

/* Frees `pointer`: a packed piece loses one use (through `batch` when given),
 * any other non-null pointer goes to free(). */
void rpf_text_free_batched(void *pointer, rpf_pack_batch *batch);
void rpf_pack_batch_flush(rpf_pack_batch *batch);

/* rpf_text_free_batched without a batch. Any thread. */
void rpf_text_free(void *pointer);

/* Number of chunks in use (tests: 0 once every read's fields are freed). */
size_t rpf_pack_chunks_in_use(void);

#endif
