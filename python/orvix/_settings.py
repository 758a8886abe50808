# SPDX-License-Identifier: GPL-3.0-or-later
"""The user's settings, as `orvix settings` shows and changes them."""
from __future__ import annotations

from dataclasses import dataclass
from typing import Any, Dict, Iterator, MutableMapping, Union

from ._command import run
from ._errors import BadInput, Error

Value = Union[float, int, str, bool]


@dataclass(frozen=True)
class Setting:
    """One setting: its value as the library reads it now, and where it is kept."""

    name: str
    value: Value
    default: Value
    stored: bool  #: False: the default holds
    root: str  #: "user" or "machine"
    key: str
    meaning: str


class Settings(MutableMapping[str, Value]):
    """The user's settings by name. Names are compared without regard to case.

        orvix.settings["SplitSize"] = 0.25
        del orvix.settings["SplitSize"]                # the default again

    Cost  a run of the command for each access, some milliseconds.
    """

    def all(self) -> Dict[str, Setting]:
        """Every setting with its default and its meaning."""
        return {each["name"]: _setting_of(each) for each in run("settings list")["settings"]}

    def describe(self, name: str) -> Setting:
        return _setting_of(_run_named(name, "settings get", name))

    def __getitem__(self, name: str) -> Value:
        return self.describe(name).value

    def __setitem__(self, name: str, value: Value) -> None:
        text = str(int(value)) if isinstance(value, bool) else str(value)
        _run_named(name, "settings set", "--", name, text)

    def __delitem__(self, name: str) -> None:
        _run_named(name, "settings reset", name)

    def __iter__(self) -> Iterator[str]:
        return iter(self.all())

    def __len__(self) -> int:
        return len(self.all())

    def clear(self) -> None:
        """Every default again."""
        run("settings reset")


def _setting_of(described: Dict[str, Any]) -> Setting:
    return Setting(**{name: described[name] for name in Setting.__dataclass_fields__})


def _run_named(name: str, verb: str, *arguments: str) -> Dict[str, Any]:
    try:
        return run(verb, *arguments)
    except Error as error:
        if isinstance(error, BadInput) and name not in settings.all():
            raise KeyError(str(error)) from None
        raise


settings = Settings()
