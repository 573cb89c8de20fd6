/* Prints what a recording holds, read through the index krq. */
#ifndef KRD_DEMO_PRINT_H_
#define KRD_DEMO_PRINT_H_

void PrintRecording(const char* krd, const char* krq);

#endif /* KRD_DEMO_PRINT_H_ */
