/* The demo's host helpers: building host strings and byte arrays, ending
 * the demo with the library's text when a call fails, opening a pair. */
#ifndef KRD_DEMO_HOST_H_
#define KRD_DEMO_HOST_H_

#include <stddef.h>
#include <stdint.h>

#include "KrdFileLibApi.h"

/* A new host string or byte array block; the handle to pass is the address
 * of a variable pointing to it. The caller frees the block. */
KrdString* NewText(const char* text);
KrdU8Array* NewBytes(const uint8_t* bytes, size_t count);
/* Prints a returned string (not zero-terminated) and hands it back. */
void PrintAndDispose(const char* name, KrdStringHandle text);
/* Ends the demo when a call failed, with the library's text for it. */
void Check(int32_t code, KrdFileHandle file, const char* call);
/* The folder the demo records in, written into folder: the one requested
 * (made if missing), or a new one under the system's temporary folder. */
int MakeDemoFolder(char* folder, size_t size, const char* requested);
/* Opens a pair in mode (0 read, 1 record, 2 edit) or ends the demo. */
KrdFileHandle OpenPair(const char* krd, const char* krq, uint8_t mode);

#endif /* KRD_DEMO_HOST_H_ */
