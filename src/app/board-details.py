import sys, gc
print('__BOARD__')
try:
 import os
 _u = os.uname()
 print(_u.machine)
 print(sys.implementation.name + ' ' + _u.version)
except Exception:
 print(sys.platform)
 print(sys.version)
gc.collect()
try:
 print(gc.mem_free())
except Exception:
 print('')
try:
 _s = os.statvfs('/')
 if not _s[2]:  # without a file system there
  _s = os.statvfs(os.getcwd())
 print(_s[0] * _s[3])
except Exception:
 print('')
