#!/usr/bin/env python3
"""Draws the pictures of the documents with the functions of the Python package.

usage: draw.py FOLDER

Each picture becomes two files of the folder, NAME.svg for light pages and NAME-dark.svg for dark
pages. The file pictures.json of the folder says on which pages they are, below which headings, and
what they show. Series differ in their colour and in their line, so that a print in grey is readable.
"""

import json
import pathlib
import re
import sys
from dataclasses import dataclass

import matplotlib

matplotlib.use('svg')

import numpy
import vxfnc
from matplotlib import pyplot
from matplotlib.ticker import FuncFormatter, PercentFormatter

DOCUMENTS = pathlib.Path(__file__).resolve().parent.parent
LINES = ['-', (0, (6, 2)), (0, (2, 1.5)), (0, (6, 2, 1, 2)), (0, (1, 1))]
WIDTH = 6.0  # inches; small, so that the text is readable on a phone
PICTURES = []


@dataclass
class Scheme:
    """The colours of one kind of page. Colour-blind readers can tell the series apart."""

    suffix: str
    text: str
    grid: str
    series: list
    fill: list


SCHEMES = [
    Scheme('', '#24292f', '#d0d4d9', ['#0b5c8f', '#b34700', '#00704f', '#8c3b73', '#4d4d4d'],
           ['#8cbfe0', '#f2b98a']),
    Scheme('-dark', '#dfe3e8', '#4a5059', ['#6fc0f0', '#f5a45d', '#3ecf9f', '#e69ac8', '#c8c8c8'],
           ['#245777', '#7d4718']),
]


def picture(name, caption, *places, height=3.7):
    """Registers a function that draws on axes and returns the text for readers who cannot see it.

    A place is a page and one of its headings: the picture is at the end of that section.
    """

    def register(draw):
        PICTURES.append((name, caption, places, height, draw))
        return draw

    return register


def plot(axes, scheme, x, y, number, label, **options):
    axes.plot(x, y, color=scheme.series[number], linestyle=LINES[number], label=label, **options)


def percent(fraction):
    return f'{100 * fraction:.3g} %'


def table_below(page, heading):
    """The rows of the first table below a heading, without its head."""
    text = (DOCUMENTS / page).read_text().split(f'# {heading}\n', 1)[1]
    rows = re.search(r'^\|[-:| ]+\|\n((?:\|.*\n)+)', text, re.MULTILINE)[1]
    return [[cell.strip() for cell in row.strip('|').split('|')] for row in rows.splitlines()]


def years_on(axes, first, last):
    axes.xaxis.set_major_formatter(FuncFormatter(lambda x, _: f'{x:g}'))
    axes.set_xlim(first, last)


@picture('price', 'Price against yield of bonds with a coupon of 5 %.',
         ('index.md', 'A bond in one picture'), ('reference/PRICE.md', 'Formula'))
def price_against_yield(axes, scheme):
    yields = numpy.linspace(0.005, 0.12, 116)
    prices = {}
    for number, years in enumerate([2, 10, 30]):
        prices[years] = vxfnc.price('2026-11-15', f'{2026 + years}-11-15', 0.05, yields, 100, 2)
        plot(axes, scheme, yields, prices[years], number, f'{years} years')
    axes.axhline(100, color=scheme.grid, linewidth=1, zorder=0)
    axes.xaxis.set_major_formatter(PercentFormatter(1, 0, ' %'))
    axes.set(xlabel='yield', ylabel='price per 100 of face value')
    axes.legend(title='Bond with a coupon of 5 %')
    low, high = yields[0], yields[-1]
    return (f'Prices of three bonds with a coupon of 5 % against the yield, from {percent(low)} to {percent(high)}. '
            f'The curves fall and cross at a yield of 5 % and a price of 100. The price of 30 years falls '
            f'from {prices[30][0]:.0f} to {prices[30][-1]:.0f}, that of 10 years from '
            f'{prices[10][0]:.0f} to {prices[10][-1]:.0f}, and that of 2 years from '
            f'{prices[2][0]:.0f} to {prices[2][-1]:.0f}.')


@picture('clean', 'Clean and dirty price of a bond over a year, at a constant yield.',
         ('conventions.md', 'Rates and amounts'), ('reference/ACCRINT.md', 'Formula'))
def clean_and_dirty(axes, scheme):
    days = numpy.arange('2026-01-01', '2027-01-01', dtype='datetime64[D]')
    bond = ('2031-05-15', 2, 'ACTUAL')
    clean = vxfnc.price(days, '2031-05-15', 0.06, 0.04, 100, 2, 'ACTUAL')
    accrued = 3 * vxfnc.coupdaybs(days, *bond) / vxfnc.coupdays(days, *bond)
    plot(axes, scheme, days, clean + accrued, 0, 'dirty: with accrued interest')
    plot(axes, scheme, days, clean, 1, 'clean: the result of PRICE')
    axes.set(ylabel='price per 100 of face value')
    axes.xaxis.set_major_locator(matplotlib.dates.MonthLocator(bymonth=[1, 3, 5, 7, 9, 11]))
    axes.xaxis.set_major_formatter(matplotlib.dates.DateFormatter('%b'))
    axes.set_xlabel('settlement in 2026; coupons of 3 on 15 May and 15 November')
    axes.legend()
    dirty = clean + accrued
    return (f'Clean and dirty price of a bond over the year 2026, at a constant yield of 4 %. The clean '
            f'price falls smoothly from {clean[0]:.1f} to {clean[-1]:.1f}. The dirty price is a saw: it '
            f'rises from {dirty[0]:.1f} and falls by 3, one coupon, on 15 May and on 15 November, where it '
            f'meets the clean price.')


@picture('duration', 'Duration against maturity, at a yield of 8 %.',
         ('reference/DURATION.md', 'Formula'))
def duration_against_maturity(axes, scheme):
    years = numpy.arange(1, 61)
    maturities = [f'{2026 + year}-11-15' for year in years]
    durations = {}
    for number, coupon in enumerate([0.02, 0.05, 0.08]):
        durations[coupon] = vxfnc.duration('2026-11-15', maturities, coupon, 0.08, 2)
        plot(axes, scheme, years, durations[coupon], number, f'coupon of {percent(coupon)}')
    limit = 1.04 / 0.08
    axes.axhline(limit, color=scheme.text, linewidth=0.8)
    axes.annotate(f'limit: {limit:g}', (0.7, limit + 0.15), va='bottom')
    axes.set(xlabel='years to maturity', ylabel='duration, years', ylim=(0, 17))
    years_on(axes, 0, 60)
    axes.legend(title='Yield of 8 %', loc='lower right')
    peak = int(durations[0.02].argmax())
    return (f'Duration against maturity at a yield of 8 %, for coupons of 2 %, 5 % and 8 %. The duration '
            f'first rises with maturity. All curves approach {limit:g} years. With the coupon of 2 % the '
            f'duration is longest, {durations[0.02][peak]:.1f} years, at {years[peak]} years, and then falls.')


@picture('depreciation', 'Five methods over the life of one asset. VDB switches to straight line.',
         ('conventions.md', 'Depreciation'),
         *((f'reference/{word}.md', 'Formula') for word in ['SLN', 'SYD', 'DB', 'DDB', 'VDB']))
def depreciation_methods(axes, scheme):
    cost, salvage, life = 10000, 500, 10
    periods = numpy.arange(1, life + 1)
    charges = {
        'SLN': numpy.full(life, vxfnc.sln(cost, salvage, life)),
        'SYD': vxfnc.syd(cost, salvage, life, periods),
        'DB': vxfnc.db(cost, salvage, life, periods),
        'DDB': vxfnc.ddb(cost, salvage, life, periods),
        'VDB': vxfnc.vdb(cost, salvage, life, periods - 1, periods, 2, 0),
    }
    values = {word: cost - numpy.concatenate([[0], charge.cumsum()]) for word, charge in charges.items()}
    for number, (word, value) in enumerate(values.items()):
        plot(axes, scheme, numpy.arange(life + 1), value, number, word, marker='osD^v'[number], markersize=4)
    axes.set(xlabel='end of year', ylabel='value of the asset', ylim=(0, None))
    years_on(axes, 0, life)
    axes.yaxis.set_major_formatter(FuncFormatter(lambda y, _: f'{y:,.0f}'))
    axes.legend(title='Cost 10,000, salvage 500')
    after = ', '.join(f'{value[3]:,.0f} for {word}' for word, value in values.items())
    last = ', '.join(f'{value[-1]:,.0f} for {word}' for word, value in values.items())
    return (f'Value of an asset over a life of 10 years by five methods, with the switch of VDB to straight '
            f'line. It begins with 10,000. After three years it is {after}; after ten years {last}.')


@picture('loan', 'Interest and principal in each payment of a loan.',
         ('tour.md', 'Amortize loans'),
         *((f'reference/{word}.md', 'Formula') for word in ['PMT', 'IPMT', 'PPMT']))
def interest_and_principal(axes, scheme):
    months = numpy.arange(1, 301)
    interest = -vxfnc.ipmt(0.042 / 12, months, 300, 250000)
    principal = -vxfnc.ppmt(0.042 / 12, months, 300, 250000)
    years = months / 12
    areas = axes.stackplot(years, interest, principal, colors=scheme.fill, linewidth=0)
    areas[1].set(hatch='//', edgecolor=scheme.series[1])
    plot(axes, scheme, years, interest, 0, None)
    payment = interest[0] + principal[0]
    half = int((principal > interest).argmax())
    axes.annotate('interest', (3, interest[36] / 2), fontsize=13)
    axes.annotate('principal', (15.5, payment * 0.72), fontsize=13,
                  bbox={'facecolor': scheme.fill[1], 'edgecolor': 'none', 'pad': 2})
    axes.set(xlabel='years; a loan of 250,000 over 25 years at 4.2 %', ylabel='monthly payment',
             ylim=(0, payment * 1.05))
    axes.yaxis.set_major_formatter(FuncFormatter(lambda y, _: f'{y:,.0f}'))
    years_on(axes, 0, 25)
    return (f'The monthly payment of {payment:,.2f} is constant. Its interest falls from {interest[0]:,.2f} '
            f'to {interest[-1]:,.2f}, and its principal rises from {principal[0]:,.2f} to '
            f'{principal[-1]:,.2f}. From month {months[half]} on, the principal is the larger part.')


@picture('two-rates', 'Flows whose sign changes twice can have two rates of return.',
         ('reference/IRR.md', 'Formula'), ('reference/NPV.md', 'Formula'))
def two_rates_of_return(axes, scheme):
    flows = [-1000, 2500, -1550]

    def value(rate):
        return flows[0] + vxfnc.npv(rate, flows[1:])

    rates = numpy.linspace(0.02, 0.6, 200)
    plot(axes, scheme, rates, [value(rate) for rate in rates], 0, None)
    first = vxfnc.irr(flows)
    low, high = 0.25, 0.6  # the second rate, by bisection
    for _ in range(60):
        middle = (low + high) / 2
        low, high = (middle, high) if value(middle) > 0 else (low, middle)
    axes.axhline(0, color=scheme.text, linewidth=0.8)
    axes.plot([first, low], [0, 0], 'o', color=scheme.series[1])
    axes.annotate(f'{percent(first)}: the result of IRR', (first, 0), (first + 0.04, -12),
                  arrowprops={'arrowstyle': '-', 'color': scheme.text})
    axes.annotate(percent(low), (low + 0.01, 1))
    axes.xaxis.set_major_formatter(PercentFormatter(1, 0, ' %'))
    axes.set(xlabel='rate per period', ylabel='net present value', xlim=(0, 0.6))
    axes.set_title('Flows of -1000, 2500 and -1550', fontsize=11, color=scheme.text)
    return (f'Net present value of the flows -1000, 2500 and -1550 against the rate. It is negative at low '
            f'rates, crosses 0 at {percent(first)}, is positive up to {percent(low)}, crosses 0 again, and is negative '
            f'at higher rates. IRR returns {percent(first)}.')


@picture('bases', 'Days that each basis counts, compared with the calendar.',
         ('conventions.md', 'Day-count bases'), ('reference/YEARFRAC.md', 'Formula'))
def bases_over_a_year(axes, scheme):
    days = numpy.arange('2027-12-31', '2029-01-01', dtype='datetime64[D]')
    passed = numpy.arange(len(days))
    gained = {}
    for number, basis in enumerate(['30/360', 'ACTUAL', 'ACT/360', 'ACT/365', 'EU30/360']):
        gained[basis] = vxfnc.yearfrac('2027-12-31', days, basis) * 366 - passed
        plot(axes, scheme, days, gained[basis], number, basis, linewidth=1.4)
    axes.xaxis.set_major_locator(matplotlib.dates.MonthLocator(bymonth=[1, 3, 5, 7, 9, 11]))
    axes.xaxis.set_major_formatter(matplotlib.dates.DateFormatter('%b'))
    axes.set(xlabel='end date; the start is 31 December 2027',
             ylabel='days ahead of the calendar')
    axes.legend()
    ends = ', '.join(f'{value[-1]:+.1f} for {basis}' for basis, value in gained.items())
    return (f'YEARFRAC from 31 December 2027 to each day of 2028, times 366, minus the days that have '
            f'passed. At the end of the year the lines are {ends} days ahead. ACTUAL, ACT/360 and ACT/365 '
            f'are straight lines. 30/360 and EU30/360 are saws that fall back at the end of each month of 31 '
            f'days. On most days 30/360 counts one day less than EU30/360.')


def bars(axes, scheme, names, lengths, label, first, last, write):
    places = numpy.arange(len(names))
    axes.barh(places, numpy.maximum(lengths, first), color=scheme.fill[0], edgecolor=scheme.series[0],
              height=0.72, linewidth=0.7, label=label)
    for place, length in zip(places, lengths):
        axes.annotate(write(length), (max(length, first), place), (3, 0), textcoords='offset points',
                      va='center', fontsize=8)
    axes.set(xscale='log', xlim=(first, last), ylim=(len(names) - 0.4, -0.6), yticks=places)
    axes.set_yticklabels(names, fontsize=8)
    axes.xaxis.set_major_formatter(FuncFormatter(lambda x, _: f'{x:,.0f}' if x >= 1 else f'{x:g}'))
    axes.tick_params(axis='y', length=0)
    axes.grid(axis='y', visible=False)


@picture('speed', 'Time of one call of each keyword, beside the minimal computation.',
         ('performance.md', 'One call of each keyword'), height=10.5)
def speed(axes, scheme):
    rows = table_below('performance.md', 'One call of each keyword')
    names = [', '.join(filter(None, row[:2])) for row in rows]
    times = numpy.array([float(row[2]) for row in rows])
    bars(axes, scheme, names, times, 'one call', 1, 50000, lambda time: f'{time:,.0f}')
    ratios = numpy.array([float(row[5] or 'nan') for row in rows])
    axes.plot(times / ratios, range(len(rows)), 'D', color=scheme.series[1], markersize=4.5,
              markeredgecolor=scheme.text, markeredgewidth=0.5, label='minimal computation')
    axes.set_xlabel('nanoseconds, logarithmic scale')
    axes.legend(loc='upper right')
    return (f'Times of the {len(rows)} calls of the table below as bars on a logarithmic scale, from '
            f'{times.min():.0f} ns for {names[times.argmin()]} to {times.max():,.0f} ns for '
            f'{names[times.argmax()]}; the median is {numpy.median(times):.0f} ns. Diamonds show the minimal '
            f'computation of {numpy.isfinite(ratios).sum()} calls.')


@picture('accuracy',
         'Median error and largest loss of each keyword. The line is at 0.5, the bound of the nearest double.',
         ('accuracy.md', 'Figures'), height=9.5)
def accuracy(axes, scheme):
    rows = table_below('accuracy.md', 'Figures')
    names = [row[0] for row in rows]
    medians = numpy.array([float(row[2]) for row in rows])
    losses = numpy.array([float(row[5]) for row in rows])
    bars(axes, scheme, names, medians, 'median error', 0.1, 3e6, lambda ulp: '' if ulp else '0')
    axes.plot(numpy.where(losses > 0, losses, numpy.nan), range(len(rows)), 'D', color=scheme.series[1],
              markersize=4.5, markeredgecolor=scheme.text, markeredgewidth=0.5, label='largest loss')
    axes.axvline(0.5, color=scheme.text, linewidth=0.8)
    axes.set_xlabel('units of the last place, logarithmic scale')
    axes.legend(loc='upper right')
    return (f'Median errors of the {len(rows)} rows of the table as bars, and the largest losses as '
            f'diamonds, on a logarithmic scale. {(medians == 0).sum()} medians are 0, '
            f'{(medians <= 1).sum()} are at most 1 ulp, and the largest is {medians.max():g} for '
            f'{names[medians.argmax()]}. {(losses <= 10).sum()} losses are at most 10 ulp; the largest is '
            f'{losses.max():,.0f} for {names[losses.argmax()]}.')


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    written = []
    for name, caption, places, height, draw in PICTURES:
        for scheme in SCHEMES:
            style = {
                'font.size': 10.5, 'svg.hashsalt': name, 'text.color': scheme.text,
                'axes.edgecolor': scheme.text, 'axes.labelcolor': scheme.text, 'axes.grid': True,
                'axes.spines.top': False, 'axes.spines.right': False, 'axes.facecolor': 'none',
                'xtick.color': scheme.text, 'ytick.color': scheme.text, 'grid.color': scheme.grid,
                'grid.linewidth': 0.6, 'lines.linewidth': 1.8, 'hatch.linewidth': 0.5,
                'legend.frameon': False, 'axes.axisbelow': True,
            }
            with matplotlib.rc_context(style):
                figure, axes = pyplot.subplots(figsize=(WIDTH, height), layout='constrained')
                text = draw(axes, scheme)
                figure.savefig(folder / f'{name}{scheme.suffix}.svg', transparent=True,
                               metadata={'Date': None})
                pyplot.close(figure)
        written.append({'name': name, 'caption': caption, 'places': places, 'text': text,
                        'width': WIDTH * 96, 'height': height * 96})
    (folder / 'pictures.json').write_text(json.dumps(written, indent=1))


if __name__ == '__main__':
    main()
