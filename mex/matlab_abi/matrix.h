/* The part of MATLAB's array interface that the modules use, as its binaries offer it on 64-bit
 * systems: sizes are size_t, and functions that take or return one bear a suffix. Written from the
 * interface's published description, for machines without MATLAB. */
#ifndef KAVRO_MATLAB_ABI_MATRIX_H
#define KAVRO_MATLAB_ABI_MATRIX_H

#include <stddef.h>

#ifndef __cplusplus
#include <stdbool.h>
#endif

typedef struct mxArray_tag mxArray;
typedef size_t mwSize;
typedef size_t mwIndex;

typedef enum {
    mxUNKNOWN_CLASS = 0,
    mxCELL_CLASS,
    mxSTRUCT_CLASS,
    mxLOGICAL_CLASS,
    mxCHAR_CLASS,
    mxVOID_CLASS,
    mxDOUBLE_CLASS,
    mxSINGLE_CLASS,
    mxINT8_CLASS,
    mxUINT8_CLASS,
    mxINT16_CLASS,
    mxUINT16_CLASS,
    mxINT32_CLASS,
    mxUINT32_CLASS,
    mxINT64_CLASS,
    mxUINT64_CLASS,
    mxFUNCTION_CLASS
} mxClassID;

typedef enum { mxREAL = 0, mxCOMPLEX } mxComplexity;

#define mxCreateNumericArray mxCreateNumericArray_730
#define mxCreateNumericMatrix mxCreateNumericMatrix_730
#define mxCreateStructMatrix mxCreateStructMatrix_730
#define mxGetCell mxGetCell_730
#define mxGetField mxGetField_730
#define mxGetNumberOfDimensions mxGetNumberOfDimensions_730
#define mxGetString mxGetString_730
#define mxSetFieldByNumber mxSetFieldByNumber_730

#ifdef __cplusplus
extern "C" {
#endif

bool mxIsCell(const mxArray* array);
bool mxIsStruct(const mxArray* array);
bool mxIsNumeric(const mxArray* array);
bool mxIsChar(const mxArray* array);
bool mxIsComplex(const mxArray* array);
bool mxIsSparse(const mxArray* array);
bool mxIsClass(const mxArray* array, const char* name);
mxClassID mxGetClassID(const mxArray* array);

size_t mxGetM(const mxArray* array);
size_t mxGetN(const mxArray* array);
size_t mxGetNumberOfElements(const mxArray* array);
mwSize mxGetNumberOfDimensions(const mxArray* array);

int mxGetFieldNumber(const mxArray* array, const char* name);
mxArray* mxGetField(const mxArray* array, mwIndex index, const char* name);
int mxGetNumberOfFields(const mxArray* array);
const char* mxGetFieldNameByNumber(const mxArray* array, int number);

mxArray* mxGetCell(const mxArray* array, mwIndex index);

double mxGetScalar(const mxArray* array);
double* mxGetPr(const mxArray* array);
double* mxGetPi(const mxArray* array);
void* mxGetData(const mxArray* array);
int mxGetString(const mxArray* array, char* buffer, mwSize buffer_length);

mxArray* mxCreateNumericMatrix(mwSize rows, mwSize columns, mxClassID class_id,
                               mxComplexity complexity);
mxArray* mxCreateNumericArray(mwSize dimensions, const mwSize* sizes, mxClassID class_id,
                              mxComplexity complexity);
mxArray* mxCreateDoubleScalar(double value);
mxArray* mxCreateStructMatrix(mwSize rows, mwSize columns, int fields, const char** names);
int mxAddField(mxArray* array, const char* name);
void mxSetFieldByNumber(mxArray* array, mwIndex index, int number, mxArray* value);
mxArray* mxCreateString(const char* text);
void mxDestroyArray(mxArray* array);

#ifdef __cplusplus
}
#endif

#endif
