"""Groups of cash flows have the results of single calls, in whatever form they are given."""
import ctypes
import warnings

import numpy as np
import pandas as pd
import pytest
from hypothesis import given
from hypothesis import strategies as st

import vxfnc

AMOUNTS = [[-1000.0, 400.0, 800.0], [-500.0, 600.0], [-50.0, 30.0, 10.0, 25.0]]
DATES = [['2024-01-01', '2025-03-01', '2026-01-01'], ['2024-05-01', '2026-01-01'],
         ['2023-01-01', '2023-06-01', '2024-01-01', '2025-01-01']]
RATES = [vxfnc.xirr(amounts, dates) for amounts, dates in zip(AMOUNTS, DATES)]
FLOWS = pd.DataFrame({'amount': sum(AMOUNTS, []), 'date': pd.to_datetime(sum(DATES, [])),
                      'fund': ['A'] * 3 + ['B'] * 2 + ['C'] * 4})
OFFSETS = np.array([0, 3, 5, 9])
AMOUNT, DATE = FLOWS.amount.to_numpy(), FLOWS.date.to_numpy()


@pytest.mark.parametrize('amount, date', [
    (AMOUNTS, DATES), ([np.array(each) for each in AMOUNTS], [pd.to_datetime(each) for each in DATES]),
    ((AMOUNT, OFFSETS), (DATE, OFFSETS)), ((FLOWS.amount, pd.Series(OFFSETS)), (DATE.astype('M8[D]'), OFFSETS)),
    (pd.Series(AMOUNTS, index=list('xyz')), pd.Series(DATES, index=list('xyz'))),
], ids=['lists', 'arrays', 'offsets', 'columns', 'Series'])
def test_groups(amount, date):
    result = vxfnc.xirr(amount, date)
    assert list(result) == RATES
    assert not isinstance(amount, pd.Series) or list(result.index) == list('xyz')
    assert list(vxfnc.irr(amount)) == [vxfnc.irr(each) for each in AMOUNTS]
    assert list(vxfnc.xnpv([0.1, 0.2, 0.3], amount, date)) == [
        vxfnc.xnpv(rate, *each) for rate, *each in zip([0.1, 0.2, 0.3], AMOUNTS, DATES)]
    assert list(vxfnc.mirr(amount, 0.1, 0.12)) == [vxfnc.mirr(each, 0.1, 0.12) for each in AMOUNTS]


@given(st.permutations(range(9)))
def test_groups_by_key(order):
    flows = FLOWS.iloc[order]
    result = vxfnc.xirr(flows.amount, flows.date, by=flows.fund)
    assert result.to_dict() == dict(zip('ABC', RATES))
    assert (result.index.name, result.name) == ('fund', 'xirr')
    assert vxfnc.xirr(flows.amount, flows.date, by=flows.fund.astype('category')).to_dict() == result.to_dict()


def test_flows_of_a_key_keep_their_order():
    mixed = FLOWS.iloc[[5, 0, 3, 6, 1, 7, 4, 2, 8]]
    assert vxfnc.irr(mixed.amount, by=mixed.fund).tolist() == [vxfnc.irr(each) for each in AMOUNTS]


def test_keys_of_several_columns_and_missing_keys():
    keys = FLOWS[['fund']].assign(currency='EUR')
    assert vxfnc.xirr(FLOWS.amount, FLOWS.date, by=keys)['B', 'EUR'] == RATES[1]
    some = FLOWS.fund.where(FLOWS.fund != 'B')
    masked = np.ma.masked_array(FLOWS.fund, FLOWS.fund == 'B')
    for by in (some, some.to_frame(), keys.assign(fund=some), masked):
        result = vxfnc.xirr(FLOWS.amount, FLOWS.date, by=by)
        assert result.tolist() == [RATES[0], RATES[2]]
        assert by is masked or result.index.names == list(getattr(by, 'columns', ['fund']))
    with_na = some.astype(object).where(some.notna(), pd.NA)
    assert vxfnc.xirr(FLOWS.amount, FLOWS.date, by=with_na).tolist() == [RATES[0], RATES[2]]
    guess = pd.Series({'C': 0.1, 'B': 0.2, 'A': 0.3})
    assert vxfnc.xnpv(guess, FLOWS.amount, FLOWS.date, by=FLOWS.fund)['A'] == vxfnc.xnpv(0.3, AMOUNTS[0], DATES[0])


def test_tables():
    table = np.array([[-100.0, 60.0, 60.0], [-100.0, 10.0, 110.0]])
    dates = np.array(['2024-01-01', '2025-01-01', '2026-01-01'], 'M8[D]').reshape(1, 3)
    assert list(vxfnc.irr(table)) == [vxfnc.irr(row) for row in table]
    assert list(vxfnc.irr(np.asfortranarray(table))) == [vxfnc.irr(row) for row in table]
    assert list(vxfnc.xirr(table, dates)) == [vxfnc.xirr(row, dates[0]) for row in table]


def test_flows_are_sorted_and_those_of_one_date_added_up():
    amounts, dates = [800.0, -600.0, 400.0, -400.0], ['2026-01-01', '2024-01-01', '2025-03-01', '2024-01-01']
    assert vxfnc.xirr(amounts, dates) == RATES[0]
    assert vxfnc.xnpv(0.1, amounts, dates) == vxfnc.xnpv(0.1, AMOUNTS[0], DATES[0])
    # The first flow is the one to which the others are discounted.
    unsorted = vxfnc.xnpv(0.1, amounts, dates, sort=False)
    assert unsorted == pytest.approx(vxfnc.xnpv(0.1, AMOUNTS[0], DATES[0]) * 1.1 ** (731 / 365))


def test_missing_and_invalid_flows():
    with warnings.catch_warnings():
        warnings.simplefilter('error')
        assert vxfnc.xirr([*AMOUNTS[0], None], [*DATES[0], '2027-01-01']) == RATES[0]
        assert np.isnan(vxfnc.irr([-100, None, 120]))
        assert np.isnan(vxfnc.xirr([AMOUNTS[0], None, [1.0]], [DATES[0], None, ['2024-01-01']])).tolist() == [
            False, True, True]
        assert np.isnan(vxfnc.npv([0.1, None], [[1.0], [2.0]])).tolist() == [False, True]
        assert np.isnan(vxfnc.irr(pd.Series([np.nan, AMOUNTS[0]]))).tolist() == [True, False]
        assert np.isnan(vxfnc.irr([np.ma.masked_array([-1.0, 5, 2], [0, 1, 0])])).all()
    reasons = vxfnc.explain(vxfnc.xirr, [*AMOUNTS, [1.0, 2.0], [-1.0, 'x']],
                            [DATES[0], DATES[1][:1], [*DATES[2][:3], None], DATES[1], DATES[1]])
    assert reasons[0] is None
    assert reasons[1] == 'argument 2 (date) has the length 1: must have the length of amount, 2'
    assert 'element 4, is missing' in reasons[2]
    assert 'no amount is negative' in reasons[3]
    assert reasons[4] == "argument 1 (amount), element 2, is the text 'x': must be a number"
    with pytest.raises(vxfnc.FinanceError, match=r"group 1 \('B'\): argument 2 .date., element 2, is missing") as error:
        vxfnc.xirr(FLOWS.amount, FLOWS.date.where(FLOWS.index != 4), by=FLOWS.fund, errors='raise')
    assert (error.value.row, error.value.argument) == (1, 'date')


@pytest.mark.parametrize('call, message', [
    (lambda: vxfnc.xirr(DATES[0], AMOUNTS[0]), None),
    (lambda: vxfnc.xirr(FLOWS.date, FLOWS.amount, by=FLOWS.fund), r'order of the arguments is xirr\(amount, date'),
    (lambda: vxfnc.xirr(DATE, AMOUNT), r'order of the arguments'),
    (lambda: vxfnc.xirr([pd.to_datetime(each) for each in DATES], AMOUNTS), r'order of the arguments'),
    (lambda: vxfnc.xirr([1.0, 2.0], DATES[0]), 'date has the length 3'),
    (lambda: vxfnc.xirr(FLOWS.amount, FLOWS.date, by=FLOWS.fund[::-1]), 'different indexes'),
    (lambda: vxfnc.xirr(AMOUNT, DATE, by=['A']), 'by has the length 1'),
    (lambda: vxfnc.irr((AMOUNT, OFFSETS[::-1])), 'must not decrease'),
    (lambda: vxfnc.irr((AMOUNT, OFFSETS + 1)), 'number of values'),
    (lambda: vxfnc.xnpv([0.1, 0.2], AMOUNTS, DATES), '3 groups'),
    (lambda: vxfnc.xirr(AMOUNT, DATE, by=set('ABCDEFGHI')), 'must be a column'),
    (lambda: vxfnc.irr(FLOWS.amount, by=FLOWS[['fund']][::-1]), 'different indexes'),
    (lambda: vxfnc.npv(pd.Series([0.1, 0.2], [1, 0]), pd.Series(AMOUNTS[:2])), 'different indexes'),
    (lambda: vxfnc.irr([AMOUNTS[0], 5]), 'element 1 is 5: must be a list'),
    (lambda: vxfnc.irr([[AMOUNTS[0], AMOUNTS[0]]]), 'lists of lists of lists'),
    (lambda: vxfnc.irr([np.ones((2, 3)), np.ones((1, 3))]), 'different lengths'),
])
def test_wrong_calls(call, message):
    with pytest.raises((TypeError, ValueError), match=message):
        call()


class Arrow(ctypes.Structure):
    """An array and its schema, as a library with the C data interface of Arrow gives them."""

    RELEASE = ctypes.cast(ctypes.pythonapi.PyErr_Occurred, ctypes.c_void_p).value  # does nothing

    class Schema(ctypes.Structure):
        pass

    class Array(ctypes.Structure):
        pass

    Schema._fields_ = [('format', ctypes.c_char_p), ('name', ctypes.c_char_p), ('metadata', ctypes.c_void_p),
                       ('flags', ctypes.c_int64), ('n_children', ctypes.c_int64), ('children', ctypes.c_void_p),
                       ('dictionary', ctypes.c_void_p), ('release', ctypes.c_void_p), ('private', ctypes.c_void_p)]
    Array._fields_ = [(name, ctypes.c_int64) for name in ('length', 'null_count', 'offset', 'n_buffers', 'n_children')] + [
        ('buffers', ctypes.c_void_p), ('children', ctypes.c_void_p), ('dictionary', ctypes.c_void_p),
        ('release', ctypes.c_void_p), ('private', ctypes.c_void_p)]

    def __init__(self, form, buffers, length, offset=0, child=None):
        super().__init__()
        self.kept = buffers, child
        self.buffers = (ctypes.c_void_p * len(buffers))(*(each if each is None else each.ctypes.data for each in buffers))
        self.schema = self.Schema(format=form, n_children=child is not None, release=self.RELEASE)
        self.array = self.Array(release=self.RELEASE, length=length, null_count=-1, offset=offset, n_buffers=len(buffers),
                                n_children=child is not None, buffers=ctypes.addressof(self.buffers))
        if child is not None:
            self.pointers = (ctypes.c_void_p * 2)(ctypes.addressof(child.schema), ctypes.addressof(child.array))
            self.schema.children, self.array.children = (ctypes.addressof(self.pointers) + 8 * i for i in range(2))

    def __arrow_c_array__(self, requested_schema=None):
        new = ctypes.pythonapi.PyCapsule_New
        new.restype, new.argtypes = ctypes.py_object, (ctypes.c_void_p, ctypes.c_char_p, ctypes.c_void_p)
        return (new(ctypes.addressof(self.schema), b'arrow_schema', None),
                new(ctypes.addressof(self.array), b'arrow_array', None))


def test_arrow_arrays():
    life = np.array([9, 5, 0, 4], 'i2')
    present = np.array([0b1011], 'u1')
    with pytest.warns(vxfnc.FinanceWarning, match='1 of 3 rows failed; row 1: argument 3 .life. is 0'):
        result = vxfnc.sln(1000, 100, Arrow(b's', [None, life], 3, offset=1))
    assert result.tolist()[::2] == [180.0, 225.0]
    assert np.isnan(vxfnc.sln(1000, 100, Arrow(b's', [present, life], 4))).tolist() == [False, False, True, False]
    days = DATE.astype('M8[D]').astype('i4')
    date = Arrow(b'+l', [None, OFFSETS.astype('i4')], 3, child=Arrow(b'tdD', [None, days], 9))
    amount = Arrow(b'+L', [None, OFFSETS], 3, child=Arrow(b'g', [None, AMOUNT], 9))
    assert list(vxfnc.xirr(amount, date)) == RATES
    times = DATE.astype('M8[us]').astype('i8')
    assert list(vxfnc.yearfrac(Arrow(b'tsu:', [None, times], 9), '2030-01-01')) == list(
        vxfnc.yearfrac(DATE, '2030-01-01'))
    late = Arrow(b'tsn:', [None, np.array([-1], 'i8')], 1)
    assert '1969-12-31 23:59:59' in vxfnc.explain(vxfnc.couppcd, late, '2040-05-15', 2)[0]
    late.array.release = None
    with pytest.raises(ValueError, match='released'):
        vxfnc.couppcd(late, '2040-05-15', 2)
    for form, message in [(b'tsu:UTC', 'time zone'), (b'l', 'Arrow array of numbers')]:
        with pytest.raises(TypeError, match=message):
            vxfnc.yearfrac(Arrow(form, [None, times], 9), '2030-01-01')


class Stream(ctypes.Structure):
    """A stream of arrays, which can be read once. Each one that it gives must be released."""
    TYPES = [ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p)] * 2 + [
        ctypes.CFUNCTYPE(ctypes.c_char_p, ctypes.c_void_p), ctypes.CFUNCTYPE(None, ctypes.c_void_p)]
    _fields_ = [(f'function{i}', kind) for i, kind in enumerate(TYPES)] + [('private', ctypes.c_void_p)]

    def __init__(self, chunks, fails=False):
        given = iter(chunks)
        self.unreleased, self.last = 0, 5 if fails else 0  # the status after the last chunk

        def give(structure, to):
            structure.release = ctypes.cast(self.function3, ctypes.c_void_p).value
            ctypes.memmove(to, ctypes.byref(structure), ctypes.sizeof(structure))
            self.unreleased += 1
            return 0

        def release(_):
            self.unreleased -= 1

        def give_next(_, to):
            chunk = next(given, None)
            return self.last if chunk is None else give(chunk.array, to)

        super().__init__(*(kind(function) for kind, function in zip(self.TYPES, [
            lambda _, to: give(chunks[0].schema, to), give_next, lambda _: None, release])))

    def __arrow_c_stream__(self, requested_schema=None):
        new = ctypes.pythonapi.PyCapsule_New
        new.restype, new.argtypes = ctypes.py_object, (ctypes.c_void_p, ctypes.c_char_p, ctypes.c_void_p)
        return new(ctypes.addressof(self), b'arrow_array_stream', None)


def test_arrow_streams():
    chunks = [Arrow(b'g', [None, AMOUNT], 1), Arrow(b'g', [None, AMOUNT], 0), Arrow(b'g', [None, AMOUNT], 2, offset=1)]
    good, bad = Stream(chunks), Stream(chunks, fails=True)
    assert vxfnc.irr(good) == vxfnc.irr(AMOUNTS[0])
    with pytest.raises(ValueError, match='the stream of Arrow arrays failed'):
        vxfnc.irr(bad)
    assert good.unreleased == bad.unreleased == 0
