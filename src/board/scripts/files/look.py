import os
def _qx(p):
 try:
  if not hasattr(os,'stat'):
   open(p,'rb').close()
   return 1
  return 1+(os.stat(p)[0]>>14&1)
 except OSError:
  return 0
print('__LOOK__'+''.join(str(_qx(p)) for p in (%1)))
