# Uses the library through ctypes, as a binding for another language would.
# usage: embed.py LIBRARY
import ctypes
import sys

library = ctypes.CDLL(sys.argv[1])
kernel, call, result = ctypes.c_void_p(), ctypes.c_void_p(), ctypes.c_double()
assert library.vxk_interface() == 1
assert library.vxk_open(None, None, ctypes.byref(kernel), None) == 0
assert library.vxk_prepare(kernel, b"FINANCE", b"SLN", 3, ctypes.byref(call), None) == 0
asset = (ctypes.c_double * 3)(35000, 5000, 5)
assert library.vxk_evaluate(call, asset, ctypes.byref(result), None) == 0
assert result.value == 6000
print("Python: passed")
