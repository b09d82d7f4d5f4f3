/* The names that a module finds in MATLAB's libmex. See libmx.c. */
#define KAVRO_NAME(name) \
    void name(void);     \
    void name(void) {}

KAVRO_NAME(mexCallMATLABWithTrap)
KAVRO_NAME(mexErrMsgTxt)
KAVRO_NAME(mexPrintf)
KAVRO_NAME(mexWarnMsgTxt)
