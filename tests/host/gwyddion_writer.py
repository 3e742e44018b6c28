"""Lets Gwyddion's file modules write a height map, by its libraries: the program itself writes only its own format without
a window. Needs a display. Ends with 1 and a message where something cannot be read or written.

    gwyddion_writer.py [--nan] INPUT FUNCTION=OUTPUT ...

With --nan the samples that Gwyddion takes for missing become NaN, which its modules write as they are; otherwise it makes
heights up for them."""

import argparse
import ctypes
import math
import os
import sys

NONINTERACTIVE = 1
# Later ones need symbols of earlier ones without saying so.
LIBRARIES = ("glib-2.0", "gtk-x11-2.0", "gwyddion2", "gwyprocess2", "gwydraw2", "gwydgets2", "gwymodule2", "gwyapp2")
POINTER, TEXT, INT, QUARK = ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int, ctypes.c_uint32
SIGNATURES = {
    "g_quark_from_string": (QUARK, TEXT),
    "gtk_init_check": (INT, POINTER, POINTER),
    "gwy_app_init_common": (INT, POINTER, TEXT, POINTER),
    "gwy_app_settings_get": (POINTER,),
    "gwy_container_set_boolean": (None, POINTER, QUARK, INT),
    "gwy_container_set_enum": (None, POINTER, QUARK, ctypes.c_uint),
    "gwy_container_get_object": (POINTER, POINTER, QUARK),
    "gwy_data_field_get_xres": (INT, POINTER),
    "gwy_data_field_get_yres": (INT, POINTER),
    "gwy_data_field_get_data": (ctypes.POINTER(ctypes.c_double), POINTER),
    "gwy_file_load_with_func": (POINTER, TEXT, INT, POINTER, POINTER),
    "gwy_file_func_run_export": (INT, TEXT, POINTER, TEXT, INT, POINTER),
    "gwy_app_data_browser_add": (None, POINTER),
    "gwy_app_data_browser_select_data_field": (None, POINTER, INT),
}


class Error(ctypes.Structure):
    _fields_ = [("domain", QUARK), ("code", INT), ("message", TEXT)]


class Gwyddion:
    def __init__(self):
        libraries = [ctypes.CDLL(f"lib{name}.so.0", mode=ctypes.RTLD_GLOBAL | os.RTLD_LAZY) for name in LIBRARIES]
        for name, (result, *arguments) in SIGNATURES.items():
            function = next(getattr(library, name) for library in libraries if hasattr(library, name))
            function.restype, function.argtypes = result, arguments
            setattr(self, name, function)
        if not self.gtk_init_check(None, None):
            sys.exit("no display")
        self.checked(self.gwy_app_init_common, b"file", None, error_first=True)
        # Text with the extent, pictures of 16-bit grey levels.
        settings = self.gwy_app_settings_get()
        self.gwy_container_set_boolean(settings, self.quark("/module/asciiexport/add-comment"), 1)
        self.gwy_container_set_enum(settings, self.quark("/module/pixmap/mode"), 1)

    def checked(self, function, *arguments, error_first=False):
        error = ctypes.POINTER(Error)()
        place = (ctypes.addressof(error),)
        result = function(*(place + arguments if error_first else arguments + place))
        if not result:
            sys.exit(error.contents.message.decode() if error else f"{function.__name__}({arguments}) failed")
        return result

    def quark(self, key):
        return self.g_quark_from_string(key.encode())

    def load(self, path):
        data = self.checked(self.gwy_file_load_with_func, path.encode(), NONINTERACTIVE, None)
        # What the modules export is what is selected here.
        self.gwy_app_data_browser_add(data)
        self.gwy_app_data_browser_select_data_field(data, 0)
        return data

    def mark_missing(self, data):
        field, mask = (self.gwy_container_get_object(data, self.quark(key)) for key in ("/0/data", "/0/mask"))
        heights, missing = self.gwy_data_field_get_data(field), self.gwy_data_field_get_data(mask)
        for k in range(self.gwy_data_field_get_xres(field) * self.gwy_data_field_get_yres(field)):
            if missing[k]:
                heights[k] = math.nan

    def export(self, data, function, path):
        self.checked(self.gwy_file_func_run_export, function.encode(), data, path.encode(), NONINTERACTIVE)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--nan", action="store_true")
    parser.add_argument("input")
    parser.add_argument("outputs", nargs="+")
    arguments = parser.parse_args()
    gwyddion = Gwyddion()
    loaded = gwyddion.load(arguments.input)
    if arguments.nan:
        gwyddion.mark_missing(loaded)
    for output in arguments.outputs:
        gwyddion.export(loaded, *output.split("=", 1))
