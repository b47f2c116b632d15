%2
import os
try:
 os.listdir(%3)
except (OSError,TypeError):
 pass
else:
 raise OSError(21)
_kf=open(%1,'wb')
_kn=0
def _kw(o,n,c,d):
 global _kn
 if len(d)!=n%4:
  raise ValueError('__LOST__')
 if _kn==o:
  _kf.write(d)
  _kn+=n
 print('__OK__')
print('__OK__')
