#pragma once

// Guards a step that needs a device object: when the expression fails, logs
// FAILED : "<expression>" in "<source below src/>"(<line>) and returns false
// from the calling function.
void LogCheckFailure(const char* expression, const char* file, long line);

#define CHECK(expr)                                          \
    do {                                                     \
        if (!(expr)) {                                       \
            LogCheckFailure(#expr, __FILE__, __LINE__);      \
            return false;                                    \
        }                                                    \
    } while (0)

// The same for a test written as the failure, so that the log quotes it as
// written: CHECK_FAILURE(!(dObjs->m_Buffer = render->CreateBuffer(...))).
#define CHECK_FAILURE(failure)                               \
    do {                                                     \
        if (failure) {                                       \
            LogCheckFailure(#failure, __FILE__, __LINE__);   \
            return false;                                    \
        }                                                    \
    } while (0)
