"""Prints the answers of the Python package to the questions of the command line, each in one word:
a JSON object as AnswersInCpp.cpp prints it."""

import json
import sys

import sysconfreader


def answer(question):
    query, *arguments = question.split()
    try:
        return getattr(sysconfreader, query.replace("-", "_"))(*arguments)
    except sysconfreader.NoAnswer:
        return None
    except sysconfreader.WrongType:
        return {"error": "wrong type"}


print(json.dumps({question: answer(question) for question in sys.argv[1:]}))
