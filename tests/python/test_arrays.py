"""Arrays and columns of every type are broadcast, and have the results of single calls."""
import array
import datetime
import decimal
import warnings

import hypothesis.extra.numpy
import hypothesis.strategies as st
import numpy as np
import pandas as pd
import pytest
from hypothesis import given

import vxfnc

DATES = ['2026-11-23', '2027-02-28', '2028-02-29', '2031-01-01']
DAYS = np.array(DATES, 'datetime64[D]')
LIFE = [3.0, 4.0, 5.0, 6.0]
DEPRECIATION = [vxfnc.sln(1000, 100, life) for life in LIFE]
COUPONS = [vxfnc.coupdays(date, '2040-05-15', 2, 'ACTUAL') for date in DATES]


@given(hypothesis.extra.numpy.mutually_broadcastable_shapes(num_shapes=3, max_dims=3, max_side=4), st.data())
def test_arguments_are_broadcast(shapes, data):
    """The arrays have any order, stride, byte order and access."""
    arguments = []
    for shape in shapes.input_shapes:
        values = np.arange(1, 1 + np.prod(shape, dtype=int), dtype=data.draw(st.sampled_from(
            ['f8', '>f8', 'f4', 'i8', 'i4', 'u1', '>u8', 'f2', 'g']))).reshape(shape)
        if values.ndim and data.draw(st.booleans()):
            values = np.asfortranarray(values)
        if values.ndim and data.draw(st.booleans()):
            values = np.repeat(values, 2, axis=-1)[..., ::-2]
        values.flags.writeable = False
        arguments.append(values)
    result = vxfnc.sln(*arguments)
    wide = np.broadcast_arrays(*arguments)
    assert np.shape(result) == shapes.result_shape
    expected = [vxfnc.sln(*map(float, row)) for row in zip(*(each.reshape(-1) for each in wide))]
    assert np.array_equal(np.reshape(result, -1), expected)


@pytest.mark.parametrize('dates', [
    DATES, tuple(DATES), np.array(DATES), [datetime.date.fromisoformat(date) for date in DATES],
    [datetime.datetime.fromisoformat(date) for date in DATES], list(map(pd.Timestamp, DATES)),
    *(DAYS.astype(f'M8[{unit}]') for unit in ('h', 'm', 's', 'ms', 'us', 'ns', '12h')),
    DAYS.astype('>M8[us]'), np.repeat(DAYS, 3)[::3], list(DAYS), pd.Series(DATES), pd.to_datetime(DATES),
    [*DAYS[:3].astype('M8[ns]'), DAYS[3]],
    pd.Series(DATES, dtype='string'), pd.Series(DATES, dtype='category'), pd.Series(pd.to_datetime(DATES)),
    pd.Categorical(DATES), np.ma.masked_array(DAYS, False), DAYS.astype(object),
], ids=lambda dates: getattr(getattr(dates, 'dtype', dates), '__class__').__name__)
def test_dates_of_every_type(dates):
    assert list(vxfnc.coupdays(dates, '2040-05-15', 2, 'ACTUAL')) == COUPONS
    assert vxfnc.coupdays(dates[1], '2040-05-15', 2, 'ACTUAL') == COUPONS[1]


@pytest.mark.parametrize('life', [
    array.array('d', LIFE), memoryview(np.array(LIFE)), range(3, 7), [3, 4.0, decimal.Decimal(5), True + 5],
    pd.Series(LIFE, dtype='Int64'), pd.Series(LIFE, dtype='Float32'), pd.Series(LIFE, dtype='int8'),
    pd.Series(LIFE, dtype='category'), pd.array(LIFE), pd.Index(LIFE), pd.arrays.SparseArray(LIFE),
    np.array([(0, life) for life in LIFE], 'u1,<f8')['f1'],
], ids=lambda life: type(life).__name__)
def test_numbers_of_every_type(life):
    assert list(vxfnc.sln(1000, 100, life)) == DEPRECIATION


def test_bases_are_numbers_texts_and_categories():
    names = ['30/360', 'actual', 'ACT/360', 'ACT/365', 'EU30/360']
    expected = [vxfnc.yearfrac('2026-01-31', '2027-03-31', code) for code in range(5)]
    for basis in (names, np.array(names), pd.Series(names), pd.Categorical(names), range(5), pd.Series(range(5))):
        assert list(vxfnc.yearfrac('2026-01-31', '2027-03-31', basis)) == expected
    assert 'must be 0 or 30/360' in vxfnc.explain(vxfnc.yearfrac, '2026-01-31', '2027-03-31', 'ACT/364')
    many = pd.Series(pd.Categorical(['ACTUAL', 'none', None] * 2))
    with pytest.warns(vxfnc.FinanceWarning, match=r"2 of 6 rows failed; row 1: .*the text 'none'"):
        assert vxfnc.yearfrac('2026-01-31', '2027-03-31', many).count() == 2


@pytest.mark.parametrize('life', [
    [5, None], [5, np.nan], [5, pd.NA], pd.Series([5, None]), pd.Series([5, None], dtype='Int64'),
    np.ma.masked_array([5, 6], [False, True]), pd.Series([5, None], dtype='category'),
    np.array([5, pd.NaT], dtype=object), [decimal.Decimal(5), decimal.Decimal('NaN')],
], ids=lambda life: type(life).__name__)
def test_a_missing_value_gives_nan_without_a_warning(life):
    with warnings.catch_warnings():
        warnings.simplefilter('error')
        assert np.isnan(vxfnc.sln(1000, [100, 100], life)).tolist() == [False, True]
        assert np.isnan(vxfnc.sln(1000, [100, np.nan], [5, 0]).tolist()[1])
    assert vxfnc.explain(vxfnc.sln, 1000, [100, 100], life)[1] is None


def test_missing_dates():
    for dates in ([DATES[0], None], [pd.Timestamp(DATES[0]), pd.NaT], np.array([DATES[0], 'NaT'], 'M8[s]'),
                  pd.Series(pd.to_datetime([DATES[0], None])), pd.Series([DATES[0], pd.NA], dtype='string')):
        result = vxfnc.couppcd(dates, '2040-05-15', 2)
        assert pd.isna(result).tolist() == [False, True]
    assert np.isnat(vxfnc.couppcd(None, '2040-05-15', 2))
    assert np.isnan(vxfnc.yearfrac(np.nan, '2040-05-15'))


@pytest.mark.parametrize('call, message', [
    (lambda: vxfnc.yearfrac(46000, '2040-05-15'), 'start_date is the number 46000: must be a date'),
    (lambda: vxfnc.yearfrac([1, 2], '2040-05-15'), 'a number .int64.: must be a date'),
    (lambda: vxfnc.yearfrac(pd.Timestamp('2026-01-01', tz='UTC'), '2040-05-15'), 'without a time zone'),
    (lambda: vxfnc.yearfrac(pd.Series(pd.to_datetime(DATES)).dt.tz_localize('UTC'), '2040-05-15'), 'time zone'),
    (lambda: vxfnc.sln(1000, 100, DAYS), 'life is a date: must be a number'),
    (lambda: vxfnc.sln(1000, 100, datetime.date(2026, 1, 1)), 'must be a number'),
    (lambda: vxfnc.sln(1000, 100, '5'), "life is the text '5': must be a number"),
    (lambda: vxfnc.sln(1000, 100, 5j), 'must be a number'),
    (lambda: vxfnc.sln(1000, 100, {5: 6}), 'must be a number'),
    (lambda: vxfnc.sln(1000, 100, pd.DataFrame([5])), 'a DataFrame'),
    (lambda: vxfnc.sln(1000, 100, np.array([5], 'm8[D]')), 'timedelta64'),
])
def test_a_wrong_type_is_an_error_of_the_call(call, message):
    with pytest.raises(TypeError, match=message):
        call()


@pytest.mark.parametrize('call, message', [
    (lambda: vxfnc.sln([1, 2], [1, 2, 3], 5), r'different shapes: cost \(2,\), salvage \(3,\)'),
    (lambda: vxfnc.sln(pd.Series([1, 2]), pd.Series([1, 2], index=[1, 0]), 5), 'different indexes'),
    (lambda: vxfnc.sln(pd.Series([1, 2]), np.ones((2, 2)), 5), 'length 2'),
    (lambda: vxfnc.sln(1, 2, 0, errors='ignore'), "must be 'warn', 'raise' or 'coerce'"),
    (lambda: vxfnc.sln([1, 2], 2, 5, threads=0), 'at least 1'),
    (lambda: vxfnc.sln(1, 2, [[1, 2], [3]]), 'life has lists of different lengths'),
])
def test_a_wrong_shape_or_option_is_an_error_of_the_call(call, message):
    with pytest.raises(ValueError, match=message):
        call()


def test_failed_rows():
    values = pd.Series([5, 0, None, 'x', 10**400], index=list('abcde'), dtype=object)
    with pytest.warns(vxfnc.FinanceWarning) as caught:
        result = vxfnc.sln(1000, 100, values)
    assert len(caught) == 1 and caught[0].filename == __file__
    assert str(caught[0].message) == (
        "sln: 3 of 5 rows failed; row 1 (index 'b'): argument 3 (life) is 0: must be greater than 0")
    assert result.isna().tolist() == [False, True, True, True, True]
    assert (result.index == values.index).all()
    with pytest.raises(vxfnc.FinanceError, match='row 1 .*: argument 3') as error:
        vxfnc.sln(1000, 100, values, errors='raise')
    assert (error.value.row, error.value.argument, error.value.keyword) == (1, 'life', 'SLN')
    with warnings.catch_warnings():
        warnings.simplefilter('error')
        assert vxfnc.sln(1000, 100, values, errors='coerce').count() == 1
    reasons = vxfnc.explain(vxfnc.sln, 1000, 100, values)
    assert reasons.notna().tolist() == [False, True, False, True, True]
    assert reasons['d'] == "argument 3 (life) is the text 'x': must be a number"


@pytest.mark.parametrize('function, arguments, reason', [
    (vxfnc.couppcd, (np.array([DATES[0] + 'T12:00'], 'M8[ns]'), DATES[3], 2), 'without a time of day'),
    (vxfnc.couppcd, (np.array(['2026-11-23T00:00:01'], 'M8[ns]'), DATES[3], 2), 'time of day'),
    (vxfnc.couppcd, (pd.to_datetime(['2026-11-22T23:59:59.999999999']), DATES[3], 2), 'is 2026-11-22 23:59:59: '),
    (vxfnc.couppcd, (np.array([-1], 'M8[ns]'), DATES[3], 2), 'is 1969-12-31 23:59:59: '),
    (vxfnc.couppcd, (np.array([2635249153387078803], 'M8[W]'), DATES[3], 2), 'must be a date'),  # 2**64 days and 1
    (vxfnc.couppcd, ([np.timedelta64(5, 'D'), DAYS[0]], DATES[3], 2), 'must be a date'),
    (vxfnc.sln, (1000, 100, [np.complex128(5j), 5]), 'must be a number'),
    (vxfnc.sln, (1000, 100, [10**5000]), 'must be a number'),
    (vxfnc.couppcd, (['23/11/2026'], DATES[3], 2), "the text '23/11/2026': must be a date"),
    (vxfnc.yearfrac, (['10000-01-01'], DATES[3]), 'must be a date'),
    (vxfnc.yearfrac, (np.array(['+12000-01-01'], 'M8[D]'), DATES[3]), 'must be a date'),
    (vxfnc.sln, (1e308, -1e308, [1.0]), 'infinite'),
    (vxfnc.sln, ([np.inf], 0, 1), 'infinite'),
    (vxfnc.coupnum, (DATES[0], [DATES[3]], 3), 'must be 1, 2, 4, 6 or 12'),
    (vxfnc.yield_, ('2026-11-23', ['2031-11-23'], 0.05, 1e9, 100, 2), 'no rate found'),
])
def test_values_that_fail_their_row(function, arguments, reason):
    assert reason in vxfnc.explain(function, *arguments)[0]
    result = function(*arguments, errors='coerce')
    assert pd.isna(result[0]) and pd.notna(result[1:]).all()


def test_empty_and_extreme_arrays():
    assert vxfnc.sln([], 1, 2).shape == (0,)
    assert vxfnc.sln(np.empty((0, 3)), 1, np.ones(3)).shape == (0, 3)
    assert vxfnc.sln(np.array(1000.0), 100, 5) == 180.0
    assert vxfnc.sln(np.ones((2, 3)).view(np.matrix), 1, 5).shape == (2, 3)
    assert vxfnc.sln(np.broadcast_to(1000.0, 10**6), 100, 5).sum() == 180.0 * 10**6
    far = vxfnc.couppcd(['3500-01-01'], '3500-12-31', 1)  # beyond the nanoseconds of pandas
    assert far.tolist() == [datetime.date(3499, 12, 31)]
    assert vxfnc.couppcd(pd.Series(['3500-01-01']), '3500-12-31', 1).tolist() == far.tolist()
