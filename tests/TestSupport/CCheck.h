/* CHECK for the tests written in C: reports a condition that does not hold
 * with its place and counts it in the test's `failures`, going on with the
 * rest of the test. */
#ifndef KRD_TESTS_C_CHECK_H_
#define KRD_TESTS_C_CHECK_H_

#include <stdio.h>

#define CHECK(condition)                                              \
  do {                                                                \
    if (!(condition)) {                                               \
      fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
      ++failures;                                                     \
    }                                                                 \
  } while (0)

#endif /* KRD_TESTS_C_CHECK_H_ */
