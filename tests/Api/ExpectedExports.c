/* Prints the names the shared library is meant to export, one a line: the
 * library functions and every row of the file-function table. */

#include <stdio.h>

#include "KrdFileLibApi.h"

#define KRD_PRINT_NAME(name, parameters) puts(#name);

int main(void) {
  static const char* const library_functions[] = {
      "SetLVRTModule",    "Initialize", "Terminate",   "Open",
      "DebugOpen",        "Close",      "CreateIndex", "GetMostRecentErrorMessage",
      "DisposeHostHandle"};
  for (size_t i = 0; i < sizeof library_functions / sizeof library_functions[0]; ++i) {
    puts(library_functions[i]);
  }
  KRD_FILE_FUNCTIONS(KRD_PRINT_NAME)
  return 0;
}
