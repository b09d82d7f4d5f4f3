/* The part of MATLAB's module interface that the modules use. See matrix.h. */
#ifndef KAVRO_MATLAB_ABI_MEX_H
#define KAVRO_MATLAB_ABI_MEX_H

#include "matrix.h"

#ifdef __cplusplus
extern "C" {
#endif

void mexFunction(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]);

void mexErrMsgTxt(const char* text); /* does not return */
void mexWarnMsgTxt(const char* text);
int mexPrintf(const char* format, ...);

#ifdef __cplusplus
}
#endif

#endif
