import os
def _qx(p):
 if hasattr(os,'stat'):
  try:
   return 1+(os.stat(p)[0]>>14&1)
  except OSError:
   return 0
 try:
  open(p,'rb').close()
  return 1
 except OSError:
  pass
 try:
  os.listdir(p)
  return 2
 except (OSError,TypeError):
  return 0
print('__LOOK__'+''.join(str(_qx(p)) for p in (%1)))
