// SPDX-License-Identifier: Apache-2.0
/* A program in C, with the names and in the order of the tests of packages. */

#include <sysconfreader_c.h>

#include <stdio.h>

int main(void) {
    static const char* const queries[] = {"product-name", "local-service-ip", "local-south-ip"};
    size_t i;
    for (i = 0; i < sizeof queries / sizeof queries[0]; ++i) {
        char* text = NULL;
        if (sysconfreader_get(queries[i], NULL, 0, SYSCONFREADER_TEXT, &text) != SYSCONFREADER_OK) {
            fprintf(stderr, "%s: %s\n", queries[i], sysconfreader_error());
            return 1;
        }
        puts(text);
        sysconfreader_free(text);
    }
    return sysconfreader_destroy();
}
