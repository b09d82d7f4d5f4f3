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

/* Calls a function of the host by name; null, or the exception that it threw. */
mxArray* mexCallMATLABWithTrap(int nlhs, mxArray* plhs[], int nrhs, mxArray* prhs[],
                               const char* name);

#ifdef __cplusplus
}
#endif

#endif
