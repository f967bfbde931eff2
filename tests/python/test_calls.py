"""Results are those that were published, and have the bits of the command."""
import csv
import datetime
import os
import subprocess
import sys

import numpy
import pytest
from conftest import BUILD, CALL, TESTS, arguments_of, function

import vxfnc


def value_of(word):
    """A number as a float, the missing value as None, and a date or basis as it is."""
    try:
        return None if word in ('', '.') else float(word)
    except ValueError:
        return word


def number_of(result):
    if isinstance(result, datetime.date):
        return (result - datetime.date(1960, 1, 1)).days
    return result


def published():
    with open(TESTS / 'published.csv', encoding='utf-8') as file:
        return [row for row in csv.DictReader(file) if '.' not in row['args'].split(';')]


def test_published_examples():
    for row in published():
        words = [value_of(word) for word in row['args'].split(';')]
        result = function(row['keyword'])(*arguments_of(row['keyword'], words), errors='raise')
        expected = value_of(row['expected'])
        if isinstance(expected, str):
            assert str(result) == expected, row
        else:
            assert abs(number_of(result) - expected) <= float(row['abs_tolerance']), row


@pytest.fixture(scope='session')
def calls(tmp_path_factory):
    """Random calls, one file for each keyword and number of arguments."""
    folder = tmp_path_factory.mktemp('calls')
    count = os.environ.get('VXFNC_CALLS', '20000')
    subprocess.run([TESTS / 'random_calls.py', TESTS / 'published.csv', folder, count], check=True)
    return folder


def column(words):
    """Numbers as an array of doubles, and other words as objects."""
    values = [value_of(word) for word in words]
    if any(isinstance(value, str) for value in values):
        return numpy.array(values, dtype=object)
    return numpy.array(values, dtype=float)


@pytest.mark.parametrize('keyword', sorted(CALL))
def test_random_calls_have_the_bits_of_the_command(calls, keyword):
    files = sorted(calls.glob(f'{keyword}.*.tsv'))
    assert files
    for file in files:
        with open(file, encoding='utf-8') as rows:
            wanted = subprocess.run([BUILD / 'bin/finance', '--filter', keyword], stdin=rows, check=True,
                                    stderr=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True).stdout.split()
        table = [line.rstrip('\n').split('\t') for line in open(file, encoding='utf-8')]
        if CALL[keyword].has_lists:
            values = [arguments_of(keyword, [value_of(word) for word in words]) for words in table]
            parameters = zip(CALL[keyword].parameters, zip(*values))
            arguments = [list(value) if parameter.is_list else column(value) for parameter, value in parameters]
            options = {'sort': False} if keyword in ('XIRR', 'XNPV') else {}
        else:
            arguments, options = [column(words) for words in zip(*table)], {}
        results = function(keyword)(*arguments, errors='coerce', **options)
        assert any(numpy.isfinite(results) if results.dtype.kind == 'f' else ~numpy.isnat(results))
        if results.dtype.kind == 'f':
            wanted = numpy.array([numpy.nan if word == r'\N' else float(word) for word in wanted])
            assert results.tobytes() == numpy.where(numpy.isnan(wanted), results, wanted).tobytes()
            assert (numpy.isnan(results) == numpy.isnan(wanted)).all()
        else:
            assert [str(result) for result in results] == [word.replace(r'\N', 'NaT') for word in wanted]


def test_a_scalar_is_evaluated_as_a_row():
    for row in published():
        words = [value_of(word) for word in row['args'].split(';')]
        if not CALL[row['keyword']].has_lists:
            scalar = function(row['keyword'])(*words)
            array = function(row['keyword'])([words[0]], *words[1:])
            assert number_of(scalar) == number_of(array.tolist()[0]), row


def test_doctests_of_all_functions():
    import doctest
    for module in (vxfnc, vxfnc._functions, vxfnc._tools):
        failed, tried = doctest.testmod(module, optionflags=doctest.ELLIPSIS)
        assert failed == 0 and tried > 0, sys.modules[module.__name__]
