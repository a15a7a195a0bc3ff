#pragma once
/*
 * The edge between the file channels and a loadable format module: plain C, no exceptions across it.
 *
 * A module is a shared object with one factory, `quillbay_format_module`, which answers its formats. It never opens
 * a file: it reads and appends through a `QbFile` of the channels, which order the writes so that a killed program
 * leaves every finished page whole. It is never unloaded.
 *
 * Threads: a writer and a reader are used on one thread at a time; `QbBlock` holds may be released on any thread,
 * `QbFile` is only called on the thread that called the module.
 */
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define QUILLBAY_FORMAT_ABI 3u

enum QbCode {
  QB_OK = 0,
  QB_E_FILE = 1,      /* a QbFile operation failed; the channels know the cause */
  QB_E_MEMORY = 2,    /* no memory */
  QB_E_DAMAGED = 3,   /* the file's content cannot be understood; the text says what */
  QB_E_REFUSED = 4,   /* what was asked cannot be done; the text says why and what to do */
  QB_E_TRUNCATED = 5, /* the file ends before what it should hold; the text may say more */
  QB_E_FULL = 6       /* of `write_lines`: the page holds no more lines; it can be ended, and is whole up to here */
};

/* The reason of a failure, UTF-8, ended by a zero: a sentence without the file's name. */
typedef struct QbText {
  char text[480];
} QbText;

typedef struct QbPiece {
  const void* bytes;
  size_t size;
} QbPiece;

/* The file as the channels offer it. Operations answer QB_OK or QB_E_FILE; after the first failure all fail. */
typedef struct QbFile {
  void* self;
  int64_t (*size)(void* self);
  /* Reads exactly `size` bytes; beyond the end is a failure. */
  int (*read)(void* self, int64_t offset, void* bytes, size_t size);
  /* Adds the pieces, in order, at the file's end. */
  int (*append)(void* self, const QbPiece* pieces, int count);
  /* Changes bytes that are already there. Held back until the page is complete and everything appended is safe,
   * then applied in the order given. */
  int (*patch)(void* self, int64_t offset, const void* bytes, size_t size);
} QbFile;

/* Options that a person or a program set; keys are the format's. */
typedef struct QbOptions {
  void* self;
  /* Non-zero when set; the value as text, cut to `room` with its zero. */
  int (*text)(void* self, const char* key, char* out, size_t room);
} QbOptions;

/* A page to be written. Texts and the palette are valid during `begin_page` only. */
typedef struct QbPage {
  int32_t color_space;    /* a KxColorSpace code */
  int32_t width;          /* pixels, > 0 */
  int64_t expected_lines; /* 0: unknown. A hint: more or fewer may come */
  uint32_t dpi;           /* 0: unknown */
  int32_t paged;          /* non-zero: a page of a file of several pages */
  int32_t palette_count;  /* entries of 4 bytes: red, green, blue, unused */
  const uint8_t* palette;
  const char* software;  /* may be empty */
  const char* date_time; /* "YYYY:MM:DD HH:MM:SS" */
  const char* title;     /* of the document; may be empty */
  const uint8_t* icc;    /* the colour profile of grey and colour pages; null: none */
  size_t icc_size;
} QbPage;

/* Consecutive lines, top line first, in the line format of the page's colour space. With `bytes`, line i begins at
 * bytes + i * stride; else at rows[i]. Whoever keeps them beyond the call takes a hold. */
typedef struct QbBlock {
  int32_t lines;
  const uint8_t* bytes;
  size_t stride;
  const uint8_t* const* rows;
  /* Non-zero: lines of codes 1 and 2 are packed pixels (bit 7 leftmost, 1 is black) at `bytes`, not run lists. */
  int32_t packed;
  void* hold;
  void (*add_hold)(void* hold);
  void (*release_hold)(void* hold);
} QbBlock;

/* A page that is read. */
typedef struct QbPicture {
  int32_t color_space;   /* 1 (lines are packed pixels), 8, 16 or 256 */
  int32_t width, height; /* of the lines as they come, > 0 */
  uint32_t dpi;          /* 0: unknown */
  int32_t orientation;   /* how the lines lie, 1 to 8 as TIFF counts: 1 top line first, left pixel first */
  int32_t palette_count; /* entries of 4 bytes: red, green, blue, unused */
  uint8_t palette[1024];
} QbPicture;

typedef struct QbWriter QbWriter;
typedef struct QbReader QbReader;

typedef struct QbOptionInfo {
  const char* key;
  const char* help;
  const char* const* choices; /* ended by null, the default first; null: a number or a text */
  int32_t least, most;        /* of a number; both 0 for a text */
  const char* otherwise;      /* the number or text that counts when it is not set */
} QbOptionInfo;

typedef struct QbFormat {
  const char* name;              /* "TIFF" */
  const char* description;       /* for a list that people choose from: "TIFF pictures" */
  const char* const* extensions; /* with the leading dot, ended by null, the usual one first */
  int paged;                     /* several pages in one file */
  const QbOptionInfo* options;   /* ended by a null key */
  /* Non-zero when a file that begins with these bytes is of this format. */
  int (*probe)(const uint8_t* head, size_t size);
  /* Non-zero when pages of this colour space can be written. */
  int (*accepts)(int32_t color_space);

  /* Starts writing: an empty file, or one to which pages are added. `file` outlives the writer. */
  int (*open_writer)(const QbFile* file, QbWriter** out, QbText* why);
  int32_t (*page_count)(QbWriter* writer);
  /* Starts a page; refuses what cannot work before anything is appended. */
  int (*begin_page)(QbWriter* writer, const QbPage* page, const QbOptions* options, QbText* why);
  int (*write_lines)(QbWriter* writer, const QbBlock* block, QbText* why);
  /* Appends what is left and asks for the patches that make the page part of the file. */
  int (*end_page)(QbWriter* writer, QbText* why);
  /* Forgets the page that was begun; the channels cut the file back. */
  void (*drop_page)(QbWriter* writer);
  void (*close_writer)(QbWriter* writer);

  int (*open_reader)(const QbFile* file, QbReader** out, QbText* why);
  int32_t (*reader_pages)(QbReader* reader);
  /* Goes to the first line of a page, from 0; a page that was being read is left. */
  int (*open_page)(QbReader* reader, int32_t page, QbPicture* out, QbText* why);
  /* The next of the page's lines: width bytes for codes 8 and 16, three times as many for 256, for code 1
   * (width + 7) / 8 bytes (bit 7 leftmost, 1 is black; what lies beyond the width counts for nothing). Memory does
   * not grow with the page, save where its format stores no line whole before all others. */
  int (*read_line)(QbReader* reader, uint8_t* out, QbText* why);
  void (*close_reader)(QbReader* reader);

  /* How many of the file's bytes its complete pages need, before a page is begun: what lies behind was left by a
   * killed program. Negative when that cannot be told; null where it does no harm. */
  int64_t (*whole_size)(QbWriter* writer);
} QbFormat;

typedef struct QbModule {
  uint32_t abi;        /* QUILLBAY_FORMAT_ABI of the module's build; read before anything else */
  uint32_t table_size; /* sizeof(QbFormat) */
  int32_t count;
  const QbFormat* const* formats;
} QbModule;

typedef const QbModule* (*QbModuleFactory)(uint32_t host_abi);
#define QUILLBAY_FORMAT_FACTORY "quillbay_format_module"

#ifdef __cplusplus
}
#endif
