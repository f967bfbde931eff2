# %% [markdown]
# Values the bonds, loans and funds of this folder. Editors open this file as a notebook; as a
# program it takes the name of a file for the chart: python3 examples/portfolio.py chart.png

# %%
import pathlib
import sys

import numpy
import pandas

import vxfnc

folder = pathlib.Path(__file__).parent if '__file__' in globals() else pathlib.Path('examples')

# %% [markdown]
# Yields and durations of bonds. A rate is a fraction, and the coupons of the file are in percent.

# %%
bonds = pandas.read_csv(folder / 'bonds.csv', parse_dates=['settle', 'maturity'])
terms = bonds.settle, bonds.maturity, bonds.coupon / 100
bonds['yield'] = 100 * vxfnc.yield_(*terms, bonds.price, 100, bonds.frequency, bonds.basis)
bonds['duration'] = vxfnc.mduration(*terms, bonds['yield'] / 100, bonds.frequency, bonds.basis)
print(bonds[['bond', 'maturity', 'yield', 'duration']].head().round(3).to_string(index=False))
mean = numpy.average(bonds['yield'], weights=bonds.price)
print(f'{len(bonds)} bonds with a mean yield of {mean:.3f} %')

# %% [markdown]
# The amortisation table of a loan: one row per month. Payments are negative.

# %%
loan = pandas.read_csv(folder / 'loans.csv').loc[1]
months = pandas.Series(range(1, loan.months + 1), name='month')
rate = loan.rate / 12
table = pandas.DataFrame({
    'interest': vxfnc.ipmt(rate, months, loan.months, loan.amount),
    'principal': vxfnc.ppmt(rate, months, loan.months, loan.amount),
    'paid': vxfnc.cumprinc(rate, loan.months, loan.amount, 1, months, 0),
})
table['owed'] = loan.amount + table.paid
table.index = months
print(f'\n{loan.loan}: {-vxfnc.pmt(rate, loan.months, loan.amount):.2f} per month')
print(table.iloc[[0, 1, -2, -1]].round(2) + 0.0)

# %% [markdown]
# The rate of return of each fund, from flows in any order.

# %%
flows = pandas.read_csv(folder / 'flows.csv')
rates = vxfnc.xirr(flows.amount, flows.date, by=flows.fund)
print(f'\n{(100 * rates).round(2)}')

# %% [markdown]
# Yield and duration in a chart. Without a display, matplotlib only writes the file.

# %%
files = [name for name in sys.argv[1:] if name.endswith(('.png', '.svg', '.pdf'))]
try:
    from matplotlib import pyplot
except ImportError:
    print('\nno chart: matplotlib is not installed')
else:
    figure, axes = pyplot.subplots()
    for basis, group in bonds.groupby('basis'):
        axes.scatter(group.duration, group['yield'], label=basis)
    axes.set(xlabel='modified duration in years', ylabel='yield in percent')
    axes.legend(title='basis')
    for name in files:
        figure.savefig(name)
