%2
_kf=open(%1,'wb')
_kn=0
print('__OK__')