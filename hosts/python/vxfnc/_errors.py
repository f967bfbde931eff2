"""Failed rows."""
import warnings


class FinanceError(ValueError):
    """A row failed.

    Attributes
    ----------
    keyword : str
        The calculation: 'PRICE'.
    argument : str or None
        The argument that is invalid.
    row : int or None
        The row that failed, from 0; in groups of cash flows the group. None if there is only one.
    """

    def __init__(self, message, keyword=None, argument=None, row=None):
        super().__init__(message)
        self.keyword = keyword
        self.argument = argument
        self.row = row


class FinanceWarning(UserWarning):
    """Rows failed; their results are NaN."""


class Failure:
    """The reason why a row failed."""

    def __init__(self, row, position, text, element=0):
        self.row = row  # from 0
        self.position = position  # of the argument that is invalid, from 1; 0: none
        self.text = text
        self.element = element  # of a list, from 1; 0: none

    def message(self, call):
        """The reason in words: 'argument 3 (rate) is -0.05: must be at least 0'."""
        if self.position == 0:
            return self.text
        element = f', element {self.element},' if self.element else ''
        return f'argument {self.position} ({call.parameters[self.position - 1].name}){element} {self.text}'


def check_option(errors):
    if errors not in ('warn', 'raise', 'coerce'):
        raise ValueError(f"errors is {errors!r}: must be 'warn', 'raise' or 'coerce'")


def report(call, failed, first, rows, label, errors):
    """Raises or warns, as the option says. label names the first row; it is empty if there is only one."""
    if errors == 'coerce':
        return
    message = f'{call.name}: {label}{first.message(call)}'
    if errors == 'raise':
        argument = call.parameters[first.position - 1].name if first.position else None
        raise FinanceError(message, call.keyword, argument, first.row if label else None)
    if label:
        message = f'{call.name}: {failed} of {rows} {call.unit} failed; {label}{first.message(call)}'
    warnings.warn(message, FinanceWarning, stacklevel=4)
