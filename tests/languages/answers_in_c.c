// SPDX-License-Identifier: Apache-2.0
/* Prints the answers of the C library to the questions of the command line, each in one word: a
   JSON object as AnswersInCpp.cpp prints it. */

#include <sysconfreader_c.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { MOST_WORDS = 8 };

static void print_answer(const char* question) {
    char words[256];
    const char* arguments[MOST_WORDS];
    size_t size = 0;
    snprintf(words, sizeof words, "%s", question);
    for (char* word = strtok(words, " "); word != NULL && size < MOST_WORDS;
         word = strtok(NULL, " ")) {
        arguments[size++] = word;
    }
    char* text = NULL;
    const int result =
        sysconfreader_get(arguments[0], arguments + 1, size - 1, SYSCONFREADER_JSON, &text);
    printf("\"%s\": ", question);
    if (result == SYSCONFREADER_OK) {
        printf("%s", text);
    } else if (result == SYSCONFREADER_NO_ANSWER) {
        printf("null");
    } else {
        printf("{\"error\": \"%s\"}", result == SYSCONFREADER_WRONG_TYPE
                                          ? "wrong type"
                                          : sysconfreader_result_text(result));
    }
    sysconfreader_free(text);
}

int main(int argc, char** argv) {
    printf("{");
    for (int i = 1; i < argc; ++i) {
        printf(i > 1 ? ",\n" : "\n");
        print_answer(argv[i]);
    }
    printf("}\n");
    return sysconfreader_destroy();
}
