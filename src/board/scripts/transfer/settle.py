import os
def _kx(n):
 try:
  open(n,'rb').close()
 except OSError:
  return 0
 return 1
if _kx(%1) and not _kx(%2):
 os.rename(%1,%2)
if _kx(%1):
 os.remove(%1)
 print('__OLD__')
else:
 print('__NEW__')
