"""The figures as text: medians, spread, and the ratio to the best peer of the same round."""

from statistics import median

from harness.measures import Column, Measure
from harness.peers import BEFORE, OURS
from harness.rounds import Figures

NAME_WIDTH = 12


def text(measure: Measure, figures: Figures) -> str:
    lines = [f"{measure.name}: {measure.title}", _heading(measure)]
    for server, rounds in figures.items():
        cells = [_cells(column, figures, server) for column in measure.columns]
        lines.append(f"  {server:<{NAME_WIDTH}}" + "".join(cells))
    lines += [_verdict(column, figures) for column in measure.columns if OURS in figures]
    return "\n".join(line for line in lines if line)


def ratios(column: Column, figures: Figures, server: str) -> list[float]:
    """Returns, for each round, the server's figure divided by the best peer's."""
    peers = [rounds for name, rounds in figures.items() if name not in (OURS, BEFORE)]
    if not peers:
        return []
    best = max if column.higher_is_better else min
    result = []
    for number, values in enumerate(figures[server]):
        reference = best(rounds[number][column.key] for rounds in peers if number < len(rounds))
        if reference > 0:
            result.append(values[column.key] / reference)
    return result


def growth(measured: dict[str, Figures], group: str) -> str:
    """Reports by how much the CPU time grows faster than the number of entries."""
    small, large = measured.get(f"{group}-1000"), measured.get(f"{group}-100000")
    if not small or not large:
        return ""
    parts = [f"{server} {_median(large, server, 'cpu') / _median(small, server, 'cpu') / 100:.2f}"
             for server in large if server in small]
    return (f"{group}: growth of the CPU time from 1,000 to 100,000 entries over 100: "
            f"{', '.join(parts)} (wanted for {OURS}: <= 1.3)")


def _heading(measure: Measure) -> str:
    columns = "".join(f"{column.title:>22}{'spread':>8}{'ratio':>7}" for column in measure.columns)
    return "  " + " " * NAME_WIDTH + columns


def _cells(column: Column, figures: Figures, server: str) -> str:
    values = [values[column.key] for values in figures[server]]
    middle = median(values)
    spread = f"{(max(values) - min(values)) / middle:.0%}" if middle else "-"
    to_best = ratios(column, figures, server)
    ratio = f"{median(to_best):.2f}" if to_best else "-"
    return f"{middle:>22,.{column.digits}f}{spread:>8}{ratio:>7}"


def _verdict(column: Column, figures: Figures) -> str:
    sign = ">=" if column.higher_is_better else "<="
    if column.limit is not None:
        value, wanted = _median(figures, OURS, column.key), column.limit
    else:
        to_best = ratios(column, figures, OURS)
        if column.target is None or not to_best:
            return ""
        value, wanted = median(to_best), column.target
    reached = value >= wanted if column.higher_is_better else value <= wanted
    what = "" if column.limit is not None else " x best peer"
    return (f"    {'reached' if reached else 'MISSED '}  {column.title}: {value:.2f}{what}, "
            f"wanted {sign} {wanted}")


def _median(figures: Figures, server: str, key: str) -> float:
    return median(values[key] for values in figures[server])
