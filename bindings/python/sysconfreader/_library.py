# SPDX-License-Identifier: Apache-2.0
"""libsysconfreader-c.so.1 and the types of its functions."""

import ctypes

NAME = "libsysconfreader-c.so.1"
UNLIMITED = ctypes.c_size_t(-1).value


class FileStruct(ctypes.Structure):
    """struct sysconfreader_file"""

    _fields_ = [
        ("outcome", ctypes.c_int),
        ("error", ctypes.c_int),
        ("line", ctypes.c_uint),
        ("column", ctypes.c_uint),
        ("pointer", ctypes.c_char * 256),
    ]


class LoadStruct(ctypes.Structure):
    """struct sysconfreader_load"""

    _fields_ = [
        ("number", ctypes.c_ulonglong),
        ("started_at", ctypes.c_longlong),
        ("duration", ctypes.c_longlong),
        ("shortage", ctypes.c_int),
        ("app_config", FileStruct),
        ("node_list", FileStruct),
        ("manager_node_list", FileStruct),
    ]


class StatusStruct(ctypes.Structure):
    """struct sysconfreader_status"""

    _fields_ = [
        ("last_load", ctypes.c_ulonglong),
        ("events_applied", ctypes.c_ulonglong),
        ("events_failed", ctypes.c_ulonglong),
        ("events_dropped", ctypes.c_ulonglong),
        ("subscription", ctypes.c_int),
        ("event_library", ctypes.c_char * 1024),
        ("reader", LoadStruct),
        ("roles", LoadStruct),
    ]


def _load() -> ctypes.CDLL:
    try:
        return ctypes.CDLL(NAME, use_errno=True)
    except OSError as error:
        raise ImportError(
            f"{NAME} cannot be loaded: {error}; install the package libsysconfreader-c1, "
            "or name the library's folder in LD_LIBRARY_PATH"
        ) from error


library = _load()


def _declare(result: type | None, name: str, *arguments: type) -> None:
    function = getattr(library, f"sysconfreader_{name}")
    function.restype = result
    function.argtypes = arguments


_Texts = ctypes.POINTER(ctypes.c_char_p)
_Text = ctypes.POINTER(ctypes.c_void_p)
_declare(ctypes.c_char_p, "result_text", ctypes.c_int)
_declare(ctypes.c_char_p, "error")
_declare(None, "free", ctypes.c_void_p)
_declare(
    ctypes.c_int, "get", ctypes.c_char_p, _Texts, ctypes.c_size_t, ctypes.c_int, _Text
)
_declare(ctypes.c_char_p, "query_name", ctypes.c_size_t)
_declare(ctypes.c_char_p, "query_help", ctypes.c_size_t)
_declare(ctypes.c_char_p, "query_argument", ctypes.c_size_t, ctypes.c_size_t)
_declare(
    ctypes.c_size_t, "query_arguments", ctypes.c_size_t, ctypes.POINTER(ctypes.c_size_t)
)
_declare(ctypes.c_int, "reload")
_declare(ctypes.c_int, "destroy")
_declare(ctypes.c_int, "get_status", ctypes.POINTER(StatusStruct), ctypes.c_size_t)
_declare(ctypes.c_ulonglong, "generation")
_declare(ctypes.c_char_p, "outcome_text", ctypes.c_int)
_declare(ctypes.c_char_p, "subscription_text", ctypes.c_int)
_declare(ctypes.c_int, "open_changes")
_declare(None, "close_changes", ctypes.c_int)
