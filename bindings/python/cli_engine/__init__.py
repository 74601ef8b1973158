"""Command languages for Python programs: libcli_engine, by its C interface alone.

    from cli_engine import Engine

    with Engine({"hello": {"#help": "Say hello", "#handler": "hello"}},
                handlers={"hello": lambda engine: print("Hello!", file=engine)}) as engine:
        print(engine.run("hello").output)
"""

from ._engine import Choice, DocumentError, Engine, Error, Fault, Flag, Kind, Language, Outcome
from ._native import lib as _lib
from ._table import Table

__all__ = ["Choice", "DocumentError", "Engine", "Error", "Fault", "Flag", "Kind", "Language", "Outcome", "Table"]
__version__: str = _lib.cli_engine_version().decode()
