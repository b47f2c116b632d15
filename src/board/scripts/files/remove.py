import os
_qn=%2
_qp=''
def _qd(p):
 if hasattr(os,'stat'):
  return os.stat(p)[0]&16384
 try:
  os.listdir(p)
 except (OSError,TypeError):
  return 0
 return 1
def _qr(p):
 global _qn,_qp
 _qp=p
 x=os.remove
 if _qd(p):
  for f in os.listdir(p):
   _qr(p+'/'+f)
  x=os.rmdir
  _qp=p
 if _qn<1:
  raise StopIteration
 _qn-=1
 x(p)
try:
 _qr(%1)
 print('__OK__')
except StopIteration:
 print('__MORE__')
except OSError as _qe:
 print('__ERR__%s\n%s'%(_qe,_qp))
