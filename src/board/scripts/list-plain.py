import os
def _q(s):
 return '"'+''.join(c if c>=' ' and not c in '"\\' else '\\u%04x'%ord(c) for c in s)+'"'
def _e(q):
 %1
def _ls(p):
 c='['
 try:
  n=%2
 except OSError:
  n=[]
 for f in n:
  q=p.rstrip('/')+'/'+f
  try:
   d,s=_e(q)
  except OSError:
   continue
  print(c+'{"n":'+_q(f)+',"p":'+_q(q)+',"s":'+str(s)+',"d":',end='')
  if d:
   print('true,"c":',end='')
   _ls(q)
   print('}',end='')
  else:
   print('false}',end='')
  c=','
 print('[]' if c=='[' else ']',end='')
print('__LS__',end='')
_ls('/')
print()
