import os
def _mk(p):
 try:
  os.mkdir(p)
 except OSError:
  pass
_mk(QPATH)
print('__OK__')