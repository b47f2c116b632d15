%2
_kf=open(%1,'rb')
_kn=0
_kd=b''
def _kr(o,n,r):
 global _kn,_kd
 if _kn+len(_kd)<=o:
  _kn+=len(_kd)
  _kd=_kf.read(n)
 p=_kd[o-_kn:o-_kn+n]
 print('__PIECE__%d %d'%(len(p),%3),%4)
print('__OK__')
