try:
 _kf.close()
except Exception:
 pass
%2
_kf=open(%1,'rb')
_kn=0
_kd=bytearray(512)
def _kx(k):
 global _kn,_kh
 for i in range(k):
  b=_kf.readinto(_kd)
  if not b:
   break
  _kn+=b
  %3
 print('__HASH__%d %d '%(_kn,0 if b else 1)+(%4))
_kx(%5)
