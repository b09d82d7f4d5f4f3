/* The names that a module finds in MATLAB's libmx, for linking without MATLAB. Nothing here runs:
 * the host brings its own library of this name. */
#define KAVRO_NAME(name) \
    void name(void);     \
    void name(void) {}

KAVRO_NAME(mxCreateDoubleScalar)
KAVRO_NAME(mxCreateNumericArray_730)
KAVRO_NAME(mxCreateNumericMatrix_730)
KAVRO_NAME(mxCreateString)
KAVRO_NAME(mxDestroyArray)
KAVRO_NAME(mxGetClassID)
KAVRO_NAME(mxGetData)
KAVRO_NAME(mxGetFieldNameByNumber)
KAVRO_NAME(mxGetFieldNumber)
KAVRO_NAME(mxGetField_730)
KAVRO_NAME(mxGetM)
KAVRO_NAME(mxGetN)
KAVRO_NAME(mxGetNumberOfDimensions_730)
KAVRO_NAME(mxGetNumberOfElements)
KAVRO_NAME(mxGetNumberOfFields)
KAVRO_NAME(mxGetPi)
KAVRO_NAME(mxGetPr)
KAVRO_NAME(mxGetScalar)
KAVRO_NAME(mxGetString_730)
KAVRO_NAME(mxIsChar)
KAVRO_NAME(mxIsClass)
KAVRO_NAME(mxIsComplex)
KAVRO_NAME(mxIsNumeric)
KAVRO_NAME(mxIsSparse)
KAVRO_NAME(mxIsStruct)
