#!/usr/bin/env python3
"""Writes random calls of every keyword, one file for each keyword and number of arguments:
FOLDER/KEYWORD.COUNT.tsv, one call per line, arguments separated by tabs. The calls are variations of the
published examples. Some of them fail.
usage: random_calls.py PUBLISHED.CSV FOLDER CALLS-PER-KEYWORD"""
import collections
import csv
import datetime
import random
import sys


def varied(argument):
    chance = random.random()
    if argument == "" or chance < 0.2:
        return argument
    try:
        date = datetime.date.fromisoformat(argument) + datetime.timedelta(random.randint(-2000, 2000))
        return date.isoformat()
    except ValueError:
        pass
    try:
        number = float(argument)
    except ValueError:
        return random.choice(["30/360", "actual", "ACT/360", "act/365", "EU30/360", argument])
    if number.is_integer() and abs(number) < 1000 and chance < 0.9:
        return str(int(number) + random.choice([-1, 0, 0, 0, 1, 2]))
    return repr(number * random.choice([1, 1.01, random.random() * 2, -1, 0]))


random.seed(20261122)
published, folder, count = sys.argv[1], sys.argv[2], int(sys.argv[3])
examples = collections.defaultdict(list)
with open(published, encoding="utf-8") as rows:
    for row in csv.DictReader(rows):
        arguments = row["args"].split(";")
        if "." not in arguments:  # a missing value, which gives NULL in databases
            examples[row["keyword"]].append(arguments)
for keyword, calls in examples.items():
    files = {}
    for _ in range(count):
        call = [varied(argument) for argument in random.choice(calls)]
        name = f"{folder}/{keyword}.{len(call)}.tsv"
        if name not in files:
            files[name] = open(name, "w", encoding="utf-8")
        files[name].write("\t".join(call) + "\n")
    for file in files.values():
        file.close()
