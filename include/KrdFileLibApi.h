/* KrdFileLibApi.h: the C interface of libKrdFileLibApi.so, the KRD file
 * library.
 *
 * Conventions
 * -----------
 * Results. Every function except DisposeHostHandle returns an int32_t code:
 * 0 for success, otherwise an error code. The text of the most recent failure
 * on a file handle is kept with that handle and read with
 * GetMostRecentErrorMessage; Open has no handle to keep it with, so
 * DebugOpen returns it instead. No failure ends the process.
 *
 * File handles. Open and DebugOpen hand out a KrdFileHandle, a small
 * unsigned number; 0 is never issued. The lowest free number is reused first
 * once its file has been closed.
 *
 * Host values. Strings and arrays travel as handles: a pointer to a pointer
 * to a block that holds a signed 32-bit count followed by the elements.
 * Strings are byte strings and are not terminated by a zero byte; their
 * length is the count. A KrdBool is one byte, 0 or 1.
 *   - Inputs are copied before the call returns; the caller keeps ownership.
 *     A null handle, or a handle whose block pointer is null, is an empty
 *     input. A negative count makes the call fail with code 36.
 *   - Outputs are the address of the caller's handle variable. The library
 *     allocates a new handle, writes the count and the elements, and stores
 *     it into the variable. It neither reads nor frees the handle the
 *     variable held before. The new handle is stored even when the call
 *     fails (then with count 0), so the caller always owns what it finds
 *     there after the call. A null output address makes the call fail with
 *     code 36 before any work is done.
 *   - Scalar outputs (uint32_t *, KrdBool *, ...) are written on success only.
 *
 * Ownership of returned handles. When the host's run-time exports
 * "AZNewHandle", returned handles come from it: it is looked up in the
 * module given to SetLVRTModule or, when none was given, among the process's
 * global symbols. Otherwise the library allocates them itself. Either way,
 * DisposeHostHandle frees a returned handle with the allocator that made
 * it; a host whose run-time owns its handles may also free them through
 * that run-time.
 *
 * Threads. Every function may be called from any thread. Calls on the same
 * file handle are serialised by the library. Each open index batches its
 * writes and a background thread commits them on time (see Initialize).
 *
 * Codes used by the library functions below: 1 to 5 for a data or index file
 * that is missing, already there or malformed; 7 for a null, unknown or
 * closed file handle; 36 for an unrecognized open mode, bad host input or an
 * unexpected failure. The file functions add the codes of their operations.
 */
#ifndef KRD_FILE_LIB_API_H_
#define KRD_FILE_LIB_API_H_

#include <stdint.h>

#if defined(__GNUC__)
#define KRD_API __attribute__((visibility("default")))
#else
#define KRD_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Host types -------------------------------------------------------- */

/* The host lays its clusters out with natural alignment, except on 32-bit
 * Windows, where they are packed to 1 byte. */
#if defined(_WIN32) && !defined(_WIN64)
#pragma pack(push, 1)
#endif

typedef uint32_t KrdFileHandle;
typedef uint8_t KrdBool;

typedef struct {
  int32_t cnt;
  uint8_t str[];
} KrdString;
typedef KrdString** KrdStringHandle;

typedef struct {
  int32_t dimSize;
  uint8_t elt[];
} KrdU8Array;
typedef KrdU8Array** KrdU8ArrayHandle;

typedef struct {
  int32_t dimSize;
  uint16_t elt[];
} KrdU16Array;
typedef KrdU16Array** KrdU16ArrayHandle;

typedef struct {
  int32_t dimSize;
  uint32_t elt[];
} KrdU32Array;
typedef KrdU32Array** KrdU32ArrayHandle;

/* A two-dimensional array, elements row by row. Attribute lists have two
 * columns (key, index). */
typedef struct {
  int32_t dimSizes[2]; /* rows, columns */
  uint16_t elt[];
} KrdU16Array2D;
typedef KrdU16Array2D** KrdU16Array2DHandle;

/* The argument of Initialize. */
typedef struct {
  /* Bytes of a data block read from the data file at a time. */
  uint32_t readChunkSize;
  /* One row per sample data type: column 0 the data-type ID, column 1 the
   * size of one sample in bytes; further columns are ignored. A repeated ID
   * keeps the size of its last row. A table with fewer than two columns
   * registers nothing. */
  KrdU16Array2DHandle dataTypes;
  /* Index statements after which an index commits its batch. */
  int32_t batchSize;
  /* Milliseconds after a batch's first statement at which the background
   * thread commits it. */
  int32_t commitIntervalMs;
} KrdLibrarySettings;

#if defined(_WIN32) && !defined(_WIN64)
#pragma pack(pop)
#endif

/* ---- Library functions ------------------------------------------------- */

/* Names the host run-time module (a dlopen handle, or NULL for the process's
 * global symbols) from which "AZNewHandle" and "AZDisposeHandle" are looked
 * up on the next allocation. Returns 0. */
KRD_API int32_t SetLVRTModule(void* module);

/* Registers the host's data types and index-commit limits; may be called
 * again at any time. Returns 0; a null settings address changes nothing. */
KRD_API int32_t Initialize(const KrdLibrarySettings* settings);

/* Stops the background commits. Open files stay open and every function
 * keeps working; batches then commit by count and on Close. Returns 0. */
KRD_API int32_t Terminate(void);

/* Opens a recording: mode 0 reads an existing pair, 1 records a new pair,
 * 2 edits an existing pair (changes reach the index only). The handle is 0
 * after a failure. */
KRD_API int32_t Open(KrdStringHandle krdPath, KrdStringHandle krqPath, uint8_t mode,
                     KrdFileHandle* file);
/* As Open; errorText receives why the files could not be opened (empty on
 * success and for failures before the files were touched). */
KRD_API int32_t DebugOpen(KrdStringHandle krdPath, KrdStringHandle krqPath, uint8_t mode,
                          KrdFileHandle* file, KrdStringHandle* errorText);
KRD_API int32_t Close(KrdFileHandle file);

/* Rebuilds an index file (which must not exist yet) from a data file. No
 * handle is involved and no message is kept. */
KRD_API int32_t CreateIndex(KrdStringHandle krdPath, KrdStringHandle krqPath);

/* The text of the most recent call on the handle: empty after a success.
 * Returns 7 with an empty text for handle 0 or a handle never issued. */
KRD_API int32_t GetMostRecentErrorMessage(KrdFileHandle file, KrdStringHandle* message);

/* Frees a string or array handle returned by this library. NULL is ignored. */
KRD_API void DisposeHostHandle(void* handle);

/* ---- File functions ---------------------------------------------------- */

/* Each row of the table below is one exported function. The row
 *   X(GetFileLabel, (KrdStringHandle*, label))
 * declares
 *   int32_t GetFileLabel(KrdFileHandle file, KrdStringHandle* label);
 * and runs the file object's operation of the same name. The file handle
 * comes first, then the operation's arguments, then the output (if any). */

/* clang-format off */
#define KRD_FILE_FUNCTIONS(X)                                                              \
  /* Header, time base, start and annotation */                                           \
  X(CreateHeader, (uint32_t, timeBase)(uint16_t, deviceId)(KrdStringHandle, label))       \
  X(SetTimeBase, (uint32_t, timeBase))                                                    \
  X(GetTimeBase, (uint32_t*, timeBase))                                                   \
  X(SetFileLabel, (KrdStringHandle, label))                                               \
  X(GetFileLabel, (KrdStringHandle*, label))                                              \
  X(CreateStart, (uint16_t, dataType)(KrdU8ArrayHandle, value))                           \
  X(SetStart, (uint16_t, dataType)(KrdU8ArrayHandle, value))                              \
  X(GetStartDataType, (uint16_t*, dataType))                                              \
  X(GetRTStart, (KrdU8ArrayHandle*, value))                                               \
  X(CreateAnnotation, (KrdStringHandle, text))                                            \
  X(SetAnnotation, (KrdStringHandle, text))                                               \
  X(GetAnnotation, (KrdStringHandle*, text))
/* clang-format on */

/* KRD_PARAMETERS((t1, n1)(t2, n2)) is ", t1 n1, t2 n2"; KRD_ARGUMENT_NAMES
 * of the same list is ", n1, n2". */
#define KRD_PARAMETERS(list) KRD_DETAIL_LIST_END(KRD_DETAIL_PARAMETER_A list)
#define KRD_DETAIL_PARAMETER_A(type, name) , type name KRD_DETAIL_PARAMETER_B
#define KRD_DETAIL_PARAMETER_B(type, name) , type name KRD_DETAIL_PARAMETER_A
#define KRD_DETAIL_PARAMETER_A_END
#define KRD_DETAIL_PARAMETER_B_END
#define KRD_ARGUMENT_NAMES(list) KRD_DETAIL_LIST_END(KRD_DETAIL_ARGUMENT_A list)
#define KRD_DETAIL_ARGUMENT_A(type, name) , name KRD_DETAIL_ARGUMENT_B
#define KRD_DETAIL_ARGUMENT_B(type, name) , name KRD_DETAIL_ARGUMENT_A
#define KRD_DETAIL_ARGUMENT_A_END
#define KRD_DETAIL_ARGUMENT_B_END
#define KRD_DETAIL_LIST_END(...) KRD_DETAIL_LIST_PASTE_END(__VA_ARGS__)
#define KRD_DETAIL_LIST_PASTE_END(...) __VA_ARGS__##_END

#define KRD_DECLARE_FILE_FUNCTION(name, parameters) \
  KRD_API int32_t name(KrdFileHandle file KRD_PARAMETERS(parameters));
KRD_FILE_FUNCTIONS(KRD_DECLARE_FILE_FUNCTION)

#ifdef __cplusplus
}
#endif

#endif /* KRD_FILE_LIB_API_H_ */
