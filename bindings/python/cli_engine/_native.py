"""The library's C interface: the records of its headers and the functions that this package calls."""

from __future__ import annotations

import ctypes
import os
import pathlib
from ctypes import CFUNCTYPE, POINTER, Structure, Union, c_char, c_int, c_int32, c_int64, c_long, c_size_t
from ctypes import c_uint, c_uint8, c_uint32

Pointer = ctypes.c_void_p
Text = ctypes.c_char_p

LAYOUT = 0  # CLI_ENGINE_LAYOUT of the headers that the records below are taken from


def record(name: str, *fields: tuple, anonymous: tuple[str, ...] = (), base: type = Structure) -> type:
    return type(name, (base,), {"_anonymous_": anonymous, "_fields_": fields})


# ---- Records: fields and order as in the headers; tests compare them with the library's list ----

token_list = record("token_list", ("first", Pointer), ("last_link", Pointer))
tokenizer = record(
    "tokenizer", ("buffer", Pointer), ("capacity", c_uint32), ("cursor_token", Pointer), ("stop_at_cursor", c_uint8),
    ("pool", token_list), ("tokens", token_list))
_lengths = record("_lengths", ("min_length", c_uint32), ("max_length", c_uint32))
_bounds = record("_bounds", ("min_inclusive", c_int64), ("max_inclusive", c_int64), ("base", c_int32),
                 ("width", c_uint32))
_facets = record("_facets", ("lengths", _lengths), ("bounds", _bounds), anonymous=("lengths", "bounds"), base=Union)
validator_defaults = record("validator_defaults", ("flags", c_uint32), ("facets", _facets), ("enum_array", Pointer),
                            anonymous=("facets",))
_match_fn = record("_match_fn", ("text", Pointer), ("number", Pointer), base=Union)
validator_type = record("validator_type", ("basetype", c_int32), ("name", Text), ("defaults", validator_defaults),
                        ("match_fn", _match_fn), ("value_fn", Pointer))
validator = record("validator", ("type", Pointer), ("flags", c_uint32), ("facets", _facets), ("enum_array", Pointer),
                   anonymous=("facets",))
parser_error = record("parser_error", ("line", Text), ("errcode", c_int32), ("token", Pointer), ("node", Pointer))
parser = record(
    "parser", ("root", Pointer), ("collect", c_uint8), ("privilege", c_int32), ("error", POINTER(parser_error)),
    ("current_token", Pointer), ("last_node", Pointer), ("current_node", Pointer), ("next_choice", Pointer),
    ("required_candidate", c_uint8), ("candidates", Pointer), ("internal", Pointer))
pager_line_entry = record("pager_line_entry", ("text", Pointer), ("next", Pointer))
pager_line_list = record("pager_line_list", ("first", Pointer), ("last_link", Pointer))
pager = record("pager", ("window", c_int32 * 2), ("indent", c_int32), ("cur_line", Pointer),
               ("lines", pager_line_list), ("spare", pager_line_list), ("internal", Pointer))

cli_node_set = record("cli_node_set", ("root", Pointer))
cli_node_list = record("cli_node_list", ("first", Pointer), ("last_link", Pointer))
_stack_link = record("_stack_link", ("next", Pointer), ("prev_link", Pointer))
cli_node_subconfig = record("cli_node_subconfig", ("handler", Pointer), ("choices", cli_node_set),
                            ("args", cli_node_list), ("prompt", Pointer), ("stack_link", _stack_link),
                            ("tokens", token_list))
cli_node_word = record("cli_node_word", ("choices", cli_node_set), ("link", Pointer), ("args", cli_node_list))
cli_node_key = record("cli_node_key", ("args", cli_node_list), ("required", c_int32))
cli_node_container = record("cli_node_container", ("args", cli_node_list), ("required", c_int32), ("mode", c_int32))
cli_node_value_part = record("cli_node_value_part", ("validator", validator), ("required", c_int32),
                             ("repeat", c_int32), ("value", Pointer))
cli_node_alias = record("cli_node_alias", ("alias", Text), ("alias_tokens", token_list))
_kinds = record("_kinds", ("subconfig", cli_node_subconfig), ("word", cli_node_word), ("key", cli_node_key),
                ("container", cli_node_container), ("value", cli_node_value_part), ("alias", cli_node_alias), base=Union)
_choice_link = record("_choice_link", ("left", Pointer), ("right", Pointer), ("parent", Pointer), ("colour", c_int32))
cli_node = record(
    "cli_node", ("type", c_int), ("definition", Pointer), ("parent", Pointer), ("help", Text), ("name", Text),
    ("mode_prompt", Text), ("name_len", c_size_t), ("privilege", c_int32), ("kinds", _kinds),
    ("choice_link", _choice_link), ("arg_link", Pointer), ("completed", c_uint8), ("used", c_uint8),
    ("token", Pointer), ("internal", Pointer), anonymous=("kinds",))
cli_handler_entry = record("cli_handler_entry", ("name", Text), ("handler", Pointer))
cli = record(
    "cli", ("initialized", c_uint8), ("prompt_host", c_char * 32), ("prompt_mode", c_char * 32),
    ("prompt_name", c_char * 16), ("prompt_end", c_char), ("prompt_text", c_char * 120), ("context", Pointer),
    ("level", c_int32), ("tokenizer", tokenizer), ("parser", parser), ("pager", pager), ("root", cli_node),
    ("current", Pointer), ("mode_stack", cli_node_list), ("exit_handler", Pointer), ("end_handler", Pointer),
    ("handlers", Pointer), ("write", Pointer), ("write_data", Pointer), ("complete", Pointer), ("flags", c_uint32),
    ("internal", Pointer))

cli_outcome = record("cli_outcome", ("kind", c_int32), ("errcode", c_int32), ("result", c_int32),
                     ("interrupted", c_uint8), ("column", c_size_t), ("length", c_size_t), ("node", Pointer))
cli_fault = record("cli_fault", ("severity", c_int32), ("file", Text), ("line", c_uint32), ("column", c_uint32),
                   ("path", Text), ("rule", Text), ("text", Text))
cli_language_source = record("cli_language_source", ("definitions", Text), ("privileges", Text),
                             ("handlers", Pointer), ("flags", c_uint32), ("exit_handler", Pointer),
                             ("end_handler", Pointer))
cell_attr = record("cell_attr", ("attr", c_uint32), ("halign", c_uint8), ("valign", c_uint8))
STYLE_TEXTS = (
    "col_sep", "row_sep", "label_sep", "header_sep", "cross", "label_header_cross", "label_cross", "header_cross",
    "border_side", "border_line", "corner_top_left", "corner_top_right", "corner_bottom_left", "corner_bottom_right",
    "side_row_left", "side_row_right", "line_col_top", "line_col_bottom", "side_header_left", "side_header_right",
    "line_label_top", "line_label_bottom")
STYLE_NUMBERS = ("pad_left", "pad_right", "flags", "show_total", "hide_empty")
table_style = record("table_style", *((name, Text) for name in STYLE_TEXTS),
                     *((name, c_uint8) for name in STYLE_NUMBERS))

# ---- Types of functions that the library calls ----

Handler = CFUNCTYPE(c_int, Pointer, Pointer)
Write = CFUNCTYPE(c_int, Pointer, Pointer, c_size_t)
CompleteValue = CFUNCTYPE(None, Pointer, Pointer, Text, Pointer)
Report = CFUNCTYPE(None, Pointer, POINTER(cli_fault))
LineReport = CFUNCTYPE(None, Pointer, c_size_t, Text, POINTER(cli_outcome))
MatchText = CFUNCTYPE(c_int, Pointer, Pointer, c_size_t)
Compare = CFUNCTYPE(c_int, Pointer, Pointer)

# ---- Functions: result and arguments ----

_Outcome = POINTER(cli_outcome)
_Attr = POINTER(cell_attr)
_FUNCTIONS = {
    "cli_engine_version": (Text,),
    "cli_engine_check_layout": (None, c_uint, c_size_t),
    "validator_typesystem_new": (Pointer,),
    "validator_typesystem_free": (None, Pointer),
    "validator_typesystem_add_custom_type": (c_int, Pointer, POINTER(validator_type)),
    "cli_language_load": (Pointer, Pointer, POINTER(cli_language_source), Report, Pointer),
    "cli_language_free": (None, Pointer),
    "cli_init_language": (Pointer, Pointer, Pointer, Pointer),
    "cli_exchange_language": (c_int, Pointer, Pointer),
    "cli_free": (None, Pointer),
    "cli_run": (c_int, Pointer, Text, c_uint, _Outcome),
    "cli_last_outcome": (_Outcome, Pointer),
    "cli_replay": (c_long, Pointer, Text, c_size_t, c_uint, LineReport, Pointer),
    "cli_help": (None, Pointer, Text),
    "cli_complete": (c_long, Pointer, Text, c_size_t, Pointer),
    "cli_explain": (c_int, Pointer, Pointer),
    "cli_defer": (None, Pointer),
    "cli_finish": (None, Pointer, c_int),
    "cli_interrupt": (None, Pointer),
    "cli_pop_subconfig": (None, Pointer),
    "cli_reset_subconfig": (None, Pointer),
    "cli_set_prompt": (None, Pointer, Text, Text, Text, c_char),
    "cli_node_find": (Pointer, Pointer, Text),
    "cli_node_value": (Pointer, Pointer),
    "cli_node_first_arg": (Pointer, Pointer),
    "cli_node_next_arg": (Pointer, Pointer),
    "parser_set_privilege": (None, Pointer, c_int),
    "parser_get_privilege": (c_int, Pointer),
    "pager_open": (None, Pointer, c_int, c_int),
    "pager_close": (None, Pointer),
    "pager_feed": (c_int, Pointer, Text),
    "pager_newline": (Pointer, Pointer),
    "pager_flush": (c_int, Pointer),
    "pager_feed_popen": (c_int, Pointer, Text),
    "table_new": (Pointer, c_int, POINTER(table_style)),
    "table_free": (None, Pointer),
    "table_set_header": (None, Pointer, c_int, Text, _Attr),
    "table_new_row": (c_int, Pointer, Text, _Attr),
    "table_set_cell": (c_int, Pointer, c_int, c_int, Text, _Attr),
    "table_sort": (c_int, Pointer, c_int, Compare),
    "cell_get_line": (Text, Pointer, c_int),
    "table_print": (None, Pointer, Pointer, c_int),
    "table_to_json": (Pointer, Pointer),
    "dyn_string_new": (Pointer,),
    "dyn_string_free": (None, Pointer),
    "dyn_string_text": (Text, Pointer),
    # Jansson, which the library brings along
    "json_array": (Pointer,),
    "json_array_append_new": (c_int, Pointer, Pointer),
    "json_stringn": (Pointer, Text, c_size_t),
    "json_string_value": (Text, Pointer),
    "json_dumps": (Pointer, Pointer, c_size_t),
    "json_delete": (None, Pointer),
}
JSON_ENCODE_ANY = 0x200
JSON_COMPACT = 0x20


def _library_names():
    """The file that CLI_ENGINE_LIBRARY names and no other; else the build of the checkout that this file lies in; else
    what the dynamic linker finds."""
    chosen = os.environ.get("CLI_ENGINE_LIBRARY")
    if chosen:
        return [chosen]
    checkout = pathlib.Path(__file__).resolve().parents[3]
    builds = []
    if (checkout / "cli_engine" / "version.h").exists():
        builds = [str(checkout / "build" / kind / "cli_engine" / f"libcli_engine.so.{LAYOUT}")
                  for kind in ("release", "debug", "minsize")]
    return [name for name in builds if os.path.exists(name)] + [f"libcli_engine.so.{LAYOUT}"]


def _load() -> ctypes.CDLL:
    names = _library_names()
    try:
        library = ctypes.CDLL(names[0])
    except OSError as error:
        raise ImportError(f"{error}; CLI_ENGINE_LIBRARY may name the file") from None
    for name, (result, *arguments) in _FUNCTIONS.items():
        function = getattr(library, name)
        function.restype, function.argtypes = result, arguments
    library.cli_engine_check_layout(LAYOUT, ctypes.sizeof(cli))
    return library


lib = _load()
_free = ctypes.CDLL(None).free
_free.restype, _free.argtypes = None, [Pointer]


def encoded(text: str) -> bytes:
    """The bytes of a text for the library, which takes a zero byte for the end."""
    data = text.encode("utf-8", "surrogateescape")
    if b"\0" in data:
        raise ValueError("embedded null character")
    return data


def decoded(data: bytes | None) -> str:
    return "" if data is None else data.decode("utf-8", "replace")


def json_text(value: int | None) -> str | None:
    """A borrowed JSON value as JSON, or null for one that cannot be written."""
    data = lib.json_dumps(value, JSON_ENCODE_ANY | JSON_COMPACT) if value else None
    if not data:
        return None
    try:
        return decoded(ctypes.string_at(data))
    finally:
        _free(data)


class OwnedJson:
    """A reference to a JSON value, dropped at the end of a `with`. None is shared with another holder."""

    def __init__(self, value: int):
        self.value = value

    def __enter__(self) -> int:
        return self.value

    def __exit__(self, *_exception) -> None:
        lib.json_delete(self.value)
