import os
_qn=%2
_qp=''
def _qr(p):
 global _qn,_qp
 x=os.remove
 if os.stat(p)[0]&16384:
  for f in os.listdir(p):
   _qr(p+'/'+f)
  x=os.rmdir
 if _qn<1:
  raise StopIteration
 _qn-=1
 _qp=p
 x(p)
try:
 _qr(%1)
 print('__OK__')
except StopIteration:
 print('__MORE__')
except OSError as _qe:
 print('__ERR__%s\n%s'%(_qe,_qp))
