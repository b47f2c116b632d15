%1
def _ks(n):
 d=bytearray(512)
 h=%2
 try:
  f=open(n,'rb')
 except OSError:
  print('__SUM__')
  return
 while 1:
  b=f.readinto(d)
  if not b:
   break
  %3
 f.close()
 print('__SUM__'+%4)
for n in (%5):
 _ks(n)
