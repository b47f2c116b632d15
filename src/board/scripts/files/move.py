import os
def _qm(a,b):
 try:
  os.stat(b)
 except OSError:
  return
 d,n=b.rsplit('/',1) if '/' in b else ('',b)
 if a.lower()!=b.lower() or n in os.listdir(d or '/'):
  raise OSError(17)
%3
os.rename(%1,%2)
print('__OK__')
