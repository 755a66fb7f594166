// SPDX-License-Identifier: Apache-2.0
#ifndef FUNCTIONS_H
#define FUNCTIONS_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Calls the function of a query with the arguments of sysconfreader_get(). Stores its answer as
 * that does in SYSCONFREADER_TEXT, for the caller to free(). -1 if there is no such function.
 */
int callFunction(const char* query, const char* const* arguments, char** text);

/* Calls everything that is not a query, and returns the number of what is not as expected. */
int callTheRest(void);

#ifdef __cplusplus
}
#endif

#endif /* FUNCTIONS_H */
